#include "app/cli/CommandLine.h"
#include "app/shell/WindowProgram.h"

#include <QFile>
#include <QFileInfo>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>

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

/// The file of addresses that the only argument names; empty when it names none, or a command.
QString addressFile(int argc, char** argv) {
    if (argc != 2 || kopertal::isCommand(argv[1]))
        return {};
    const QString path = QFile::decodeName(argv[1]);
    return QFileInfo(path).isFile() ? path : QString();
}

} // namespace

int main(int argc, char** argv) {
    ensureUtf8Locale();
    makeWriteSignalsErrors();
    const QString file = addressFile(argc, argv);
    if (argc > 1 && file.isEmpty())
        return kopertal::runCommandLine(argc, argv);
    return kopertal::runWindow(argc, argv, file);
}
