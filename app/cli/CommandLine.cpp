#include "app/cli/CommandLine.h"

#include "app/BuildConfig.h"
#include "app/Module.h"
#include "app/cli/Console.h"

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

Użycie: kopertal [--verbose] [PLIK]
       kopertal POLECENIE [ARGUMENTY]

Bez polecenia otwiera okno programu, z adresami z PLIKU, jeśli go podano.

Polecenia:
  generate   tworzy z adresów wypełnioną książkę nadawczą (.docx)
  serve      odbiera zdjęcia z telefonu w tej samej sieci
  scan       odczytuje numery ze zdjęć książki nadawczej
  track      pyta Pocztę Polską o status przesyłek

  -h, --help     pokaż tę pomoc; „kopertal POLECENIE --help” opisuje polecenie
      --version  pokaż wersję
      --verbose  opisuj przebieg pracy na standardowym wyjściu błędów: liczby, rozmiary
                 i czasy, bez adresów, numerów i treści; działa też z poleceniami

Kod wyjścia: 0 wykonane, 1 nie udało się, 2 błędne użycie.)";

/// Each is a module of its own name.
constexpr std::string_view commands[] = {"generate", "scan", "serve", "track"};

/// The command's exit code; a failure becomes its message, for the user.
int runGuarded(ModuleRun run, int count, char** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::bad_alloc&) {
        printMessage(QStringLiteral("Za mało pamięci."));
    } catch (const std::exception& error) {
        printMessage(QString::fromUtf8(error.what()));
    }
    return failed;
}

} // namespace

bool isCommand(const char* argument) {
    return std::ranges::find(commands, std::string_view(argument)) != std::end(commands);
}

int runCommandLine(int count, char** arguments) {
    const QCoreApplication application(count, arguments);
    const std::string_view name = count > 1 ? arguments[1] : "--help";
    if (name == "-h" || name == "--help")
        return printResult(QString::fromUtf8(overview)) ? done : failed;
    if (name == "--version")
        return printResult(QStringLiteral("kopertal " KOPERTAL_VERSION)) ? done : failed;
    for (int i = 1; i < count; ++i) {
        if (!QByteArrayView(arguments[i]).isValidUtf8()) {
            printMessage(QStringLiteral("Argument nie jest zapisany w UTF-8: %1")
                             .arg(QString::fromUtf8(arguments[i])));
            return wrongUsage;
        }
    }
    if (isCommand(arguments[1])) {
        const ModuleRun run = loadModule(arguments[1]);
        return run == nullptr ? failed : runGuarded(run, count - 1, arguments + 1);
    }
    printMessage(
        QStringLiteral("Nieznane polecenie: %1").arg(QString::fromLocal8Bit(arguments[1])));
    printMessage(QStringLiteral("Pomoc: kopertal --help"));
    return wrongUsage;
}

} // namespace kopertal
