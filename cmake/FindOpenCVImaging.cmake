# OpenCV's core and imgproc as the target OpenCV::Imaging. Distributions that split the library into packages ship its
# own CMake files only with all of it.
find_path(OpenCVImaging_INCLUDE_DIR opencv2/imgproc.hpp PATH_SUFFIXES opencv4)
find_library(OpenCVImaging_CORE opencv_core)
find_library(OpenCVImaging_IMGPROC opencv_imgproc)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenCVImaging DEFAULT_MSG
    OpenCVImaging_INCLUDE_DIR OpenCVImaging_CORE OpenCVImaging_IMGPROC)
if(OpenCVImaging_FOUND AND NOT TARGET OpenCV::Imaging)
    add_library(OpenCV::Imaging INTERFACE IMPORTED)
    target_include_directories(OpenCV::Imaging SYSTEM INTERFACE ${OpenCVImaging_INCLUDE_DIR})
    target_link_libraries(OpenCV::Imaging INTERFACE ${OpenCVImaging_IMGPROC} ${OpenCVImaging_CORE})
endif()
