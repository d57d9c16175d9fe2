#include "app/cli/CommandLine.h"

#include "app/BuildConfig.h"
#include "app/cli/Console.h"
#include "app/cli/GenerateCommand.h"
#include "app/cli/ScanCommand.h"
#include "app/cli/ServeCommand.h"
#include "app/cli/TrackCommand.h"

#include <QCoreApplication>

#include <algorithm>
#include <exception>
#include <iterator>
#include <new>
#include <string_view>

namespace kopertal {
namespace {

const char* const overview =
    R"(Kopertal: książka nadawcza i śledzenie listów poleconych.

Użycie: kopertal [PLIK]
       kopertal POLECENIE [ARGUMENTY]

Bez polecenia otwiera okno programu, z adresami z PLIKU, jeśli go podano.

Polecenia:
  generate   tworzy z adresów wypełnioną książkę nadawczą (.docx)
  serve      odbiera zdjęcia z telefonu w tej samej sieci
  scan       odczytuje numery ze zdjęć książki nadawczej
  track      pyta Pocztę Polską o status przesyłek

  -h, --help     pokaż tę pomoc; „kopertal POLECENIE --help” opisuje polecenie
      --version  pokaż wersję

Kod wyjścia: 0 wykonane, 1 nie udało się, 2 błędne użycie.)";

struct Command {
    std::string_view name;
    int (*run)(int count, char** arguments);
};

constexpr Command commands[] = {
    {"generate", runGenerate},
    {"scan", runScan},
    {"serve", runServe},
    {"track", runTrack},
};

/// The command's exit code; a failure becomes its message, for the user.
int runGuarded(const Command& command, int count, char** arguments) {
    try {
        return command.run(count, arguments);
    } catch (const std::bad_alloc&) {
        printMessage(QStringLiteral("Za mało pamięci."));
    } catch (const std::exception& error) {
        printMessage(QString::fromUtf8(error.what()));
    }
    return failed;
}

} // namespace

bool isCommand(const char* argument) {
    const std::string_view name = argument;
    return std::any_of(std::begin(commands), std::end(commands),
                       [&](const Command& command) { return command.name == name; });
}

int runCommandLine(int count, char** arguments) {
    const QCoreApplication application(count, arguments);
    const std::string_view name = count > 1 ? arguments[1] : "--help";
    if (name == "-h" || name == "--help")
        return printResult(QString::fromUtf8(overview)) ? done : failed;
    if (name == "--version")
        return printResult(QStringLiteral("kopertal " KOPERTAL_VERSION)) ? done : failed;
    for (const Command& command : commands) {
        if (command.name == name)
            return runGuarded(command, count - 1, arguments + 1);
    }
    printMessage(
        QStringLiteral("Nieznane polecenie: %1").arg(QString::fromLocal8Bit(arguments[1])));
    printMessage(QStringLiteral("Pomoc: kopertal --help"));
    return wrongUsage;
}

} // namespace kopertal
