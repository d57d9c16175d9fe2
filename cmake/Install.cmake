# Where things are installed; before any target. The program finds its modules beside itself, in ../lib/kopertal, whatever
# the system calls its folder of libraries.
include(GNUInstallDirs)
set(CMAKE_SKIP_INSTALL_RPATH ON) # the libraries are the system's
