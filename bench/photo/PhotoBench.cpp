// photo_bench make FOLDER LEVEL FIRST LAST [MEGAPIXELS]   writes made-up photos and what is on them
// photo_bench run FOLDER... [--plain] [--missed]          reads them and prints how well
#include "scan/BarcodeDetector.h"
#include "scan/PhotoDecoding.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#define ZX_USE_UTF8
#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace kopertal;
using namespace kopertal::test;

namespace {

QTextStream out(stdout);

QJsonArray toJson(const PlacedCode& placed) {
    QJsonArray corners;
    for (const cv::Point2f& corner : placed.corners)
        corners.append(QJsonArray{corner.x, corner.y});
    return {placed.code.format, placed.code.text, corners};
}

int make(const QStringList& arguments) {
    const QDir folder(arguments.at(0));
    QDir().mkpath(folder.path());
    static const QStringList levels{"easy", "medium", "hard", "closeup", "codeless", "matrices"};
    const auto level = levels.indexOf(arguments.at(1));
    PhotoRecipe recipe;
    recipe.difficulty = static_cast<Difficulty>(level <= 2 ? level : 1);
    recipe.subject = static_cast<Subject>(std::max<qsizetype>(0, level - 2));
    if (arguments.size() > 4)
        recipe.megapixels = arguments.at(4).toDouble();
    for (recipe.seed = arguments.at(2).toULongLong(); recipe.seed <= arguments.at(3).toULongLong();
         ++recipe.seed) {
        const RegisterPhoto photo = makeRegisterPhoto(recipe);
        QJsonArray codes;
        for (const PlacedCode& placed : photo.codes)
            codes.append(toJson(placed));
        const QString name = folder.filePath(arguments.at(1) + QString::number(recipe.seed));
        QFile picture(name + ".jpg");
        QFile truth(name + ".json");
        if (!picture.open(QIODevice::WriteOnly) || picture.write(photo.jpeg) < 0 ||
            !truth.open(QIODevice::WriteOnly) || truth.write(QJsonDocument(codes).toJson()) < 0)
            return 1;
    }
    return 0;
}

using Codes = QStringList; // "format text"
using Reader = std::function<Codes(const QByteArray&)>;

Codes readOurs(const QByteArray& bytes) {
    Codes codes;
    for (const Barcode& code : detectBarcodes(decodePhoto(bytes)))
        codes.append(code.format + ' ' + code.text);
    return codes;
}

/// The library on the whole page; in a child, for it may abort.
Codes readPlain(const QByteArray& bytes) {
    const QImage photo = decodePhoto(bytes);
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        const ZXing::DecodeHints hints = ZXing::DecodeHints().setTryDownscale(false);
        QByteArray text;
        for (const ZXing::Result& result :
             ZXing::ReadBarcodes({photo.constBits(), photo.width(), photo.height(),
                                  ZXing::ImageFormat::Lum, static_cast<int>(photo.bytesPerLine())},
                                 hints))
            text += ZXing::ToString(result.format()) + (' ' + result.text()) + '\n';
        [[maybe_unused]] const auto written =
            write(pipeEnds[1], text.constData(), static_cast<size_t>(text.size()));
        _exit(0);
    }
    close(pipeEnds[1]);
    QFile in;
    in.open(pipeEnds[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    const QByteArray text = in.readAll();
    waitpid(child, nullptr, 0);
    return QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts);
}

int run(const QStringList& arguments) {
    const Reader reader = arguments.contains("--plain") ? readPlain : readOurs;
    out << "folder                    linear    read          2D    read   false   median s    p95 "
           "s\n";
    for (const QString& path : arguments) {
        if (path.startsWith('-'))
            continue;
        const QDir folder(path);
        int linear = 0, linearRead = 0, matrix = 0, matrixRead = 0, wrong = 0;
        std::vector<double> times;
        for (const QString& name : folder.entryList({"*.jpg"})) {
            QFile picture(folder.filePath(name));
            QFile truth(folder.filePath(QString(name).replace(".jpg", ".json")));
            picture.open(QIODevice::ReadOnly);
            truth.open(QIODevice::ReadOnly);
            const QByteArray bytes = picture.readAll();
            QElapsedTimer timer;
            timer.start();
            Codes found = reader(bytes);
            times.push_back(double(timer.nsecsElapsed()) / 1e9);
            found.removeDuplicates();
            for (const QJsonValue& value : QJsonDocument::fromJson(truth.readAll()).array()) {
                const CodeText code{value.toArray()[0].toString(), value.toArray()[1].toString()};
                const bool isRead = found.removeOne(code.format + ' ' + code.text);
                (isLinear(code) ? linear : matrix) += 1;
                (isLinear(code) ? linearRead : matrixRead) += isRead ? 1 : 0;
                if (!isRead && arguments.contains("--missed")) {
                    const QJsonArray corner = value.toArray()[2].toArray()[0].toArray();
                    out << name << " missed " << code.format << ' ' << code.text << " at "
                        << corner[0].toInt() << ',' << corner[1].toInt() << '\n';
                    for (const QJsonValue& c : value.toArray()[2].toArray())
                        out << c.toArray()[0].toDouble() << ' ' << c.toArray()[1].toDouble()
                            << "  ";
                    out << '\n';
                }
            }
            for (const QString& code : found)
                out << name << " FALSE " << code << '\n';
            wrong += int(found.size());
        }
        std::ranges::sort(times);
        if (times.empty())
            continue;
        out << qSetFieldWidth(22) << Qt::left << folder.dirName() << qSetFieldWidth(0) << Qt::right
            << QString::asprintf("%10d %6.1f %% %9d %6.1f %% %6d %10.2f %8.2f\n", linear,
                                 linear ? 100.0 * linearRead / linear : 0, matrix,
                                 matrix ? 100.0 * matrixRead / matrix : 0, wrong,
                                 times[times.size() / 2], times[times.size() * 95 / 100])
            << Qt::flush;
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    out << "peak memory " << usage.ru_maxrss / 1024 << " MB\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 2; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const QByteArrayView command = argc > 1 ? argv[1] : "";
    return command == "make" ? make(arguments) : command == "run" ? run(arguments) : 2;
}
