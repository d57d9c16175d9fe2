#include "app/Module.h"
#include "app/cli/CommandLine.h"
#include "app/cli/Verbose.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <langinfo.h>
#include <system_error>
#include <unistd.h>

namespace {

/// Qt needs a UTF-8 locale and warns on standard error when it has to choose one itself.
void ensureUtf8Locale() {
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        setenv("LC_ALL", "C.UTF-8", 1);
}

/// Full pipes and files beyond a limit end a write with an error, which is reported and cleaned up
/// after, instead of the process.
void makeWriteSignalsErrors() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

/// Whether the only argument names a file of addresses, and not a command.
bool isAddressFile(int argc, char** argv) {
    std::error_code error;
    return argc == 2 && !kopertal::isCommand(argv[1]) &&
           std::filesystem::is_regular_file(argv[1], error);
}

/// Else the next files and sockets would be taken for the standard streams.
void openMissingStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", O_RDONLY); // to which writing fails, as it should
    }
}

} // namespace

int main(int argc, char** argv) {
    openMissingStreams();
    ensureUtf8Locale();
    makeWriteSignalsErrors();
    if (kopertal::takeVerbose(argc, argv))
        kopertal::startLog();
    if (argc > 1 && !isAddressFile(argc, argv))
        return kopertal::runCommandLine(argc, argv);
    const kopertal::ModuleRun runWindow = kopertal::loadModule("window");
    return runWindow == nullptr ? 1 : runWindow(argc, argv);
}
