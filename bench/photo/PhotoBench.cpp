// PhotoBench make FOLDER LEVEL FIRST LAST [MEGAPIXELS]   writes made-up photos and what is on them
// PhotoBench run FOLDER... [--ours] [--missed]           reads them and prints how well, beside
//                                                        libraries on their own unless --ours
// Folders named after a level with a mark, and one named "large", are recorded as promises.
#include "bench/Result.h"
#include "bench/photo/PlainReading.h"
#include "scan/BarcodeDetector.h"
#include "scan/PhotoDecoding.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <sys/resource.h>
#include <tuple>
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

QStringList readOurs(const QImage& grey) {
    QStringList codes;
    for (const Barcode& code : detectBarcodes(grey))
        codes.append(code.format + ' ' + code.text);
    return codes;
}

struct Score {
    int linear = 0;
    int linearRead = 0;
    int matrix = 0;
    int matrixRead = 0;
    int wrong = 0;
    int died = 0; ///< Photos that ended the reader's process.
    std::vector<double> seconds;
};

QList<PlacedCode> readTruth(const QString& path) {
    QFile file(path);
    QList<PlacedCode> codes;
    if (!file.open(QIODevice::ReadOnly))
        return codes;
    for (const QJsonValue value : QJsonDocument::fromJson(file.readAll()).array()) {
        PlacedCode placed{{value[0].toString(), value[1].toString()}, {}};
        for (int i = 0; i < 4; ++i)
            placed.corners[size_t(i)] = {float(value[2][i][0].toDouble()),
                                         float(value[2][i][1].toDouble())};
        codes.append(placed);
    }
    return codes;
}

void count(Score& score, QStringList found, const QList<PlacedCode>& truth, const QString& photo,
           bool named) {
    found.replaceInStrings(QRegularExpression("[\\x00-\\x1f]"), "");
    found.removeDuplicates();
    for (const PlacedCode& placed : truth) {
        const bool isRead = found.removeOne(placed.code.format + ' ' + placed.code.text);
        (isLinear(placed.code) ? score.linear : score.matrix) += 1;
        (isLinear(placed.code) ? score.linearRead : score.matrixRead) += isRead ? 1 : 0;
        if (isRead || !named)
            continue;
        out << photo << " missed " << placed.code.format << ' ' << placed.code.text << " at";
        for (const cv::Point2f& corner : placed.corners)
            out << ' ' << corner.x << ',' << corner.y;
        out << '\n';
    }
    for (const QString& code : found) {
        if (named)
            out << photo << " FALSE " << code << '\n';
    }
    score.wrong += int(found.size());
}

void print(const QString& folder, const char* reader, Score& score) {
    std::ranges::sort(score.seconds);
    const auto percent = [](int part, int all) { return all ? 100.0 * part / all : 0; };
    out << QString::asprintf("%-14s %-12s %6d %6.1f %% %6d %6.1f %% %6d %6d %8.2f %8.2f\n",
                             qPrintable(folder), reader, score.linear,
                             percent(score.linearRead, score.linear), score.matrix,
                             percent(score.matrixRead, score.matrix), score.wrong, score.died,
                             score.seconds[score.seconds.size() / 2],
                             score.seconds[score.seconds.size() * 95 / 100])
        << Qt::flush;
}

double linearRecall(const Score& score) {
    return score.linear ? 100.0 * score.linearRead / score.linear : 0;
}

/// Recalls beside that of the best plain reader.
void recordRecall(const QString& level, const Score& ours, const std::vector<Score>& theirs,
                  const std::vector<PlainReader>& readers) {
    static const QMap<QString, double> marks{{"easy", 99}, {"medium", 98}, {"hard", 80}};
    if (!marks.contains(level) || theirs.empty())
        return;
    const auto best = std::ranges::max_element(theirs, {}, linearRecall) - theirs.begin();
    const QByteArray promise = "linear codes read, " + level.toUtf8() + " photos";
    bench::record({.promise = promise.constData(),
                   .figure = linearRecall(ours),
                   .unit = "%",
                   .reference = readers[size_t(best)].name,
                   .referenceFigure = linearRecall(theirs[size_t(best)]),
                   .relation = ">=",
                   .mark = marks[level]});
}

/// What is promised of all photos together: of usual ones, or of large ones.
void recordWhole(const Score& ours, const std::vector<Score>& theirs,
                 const std::vector<PlainReader>& readers, bool isLarge, double megabytes) {
    if (isLarge) {
        bench::record({.promise = "peak memory, photos of 48 megapixels",
                       .figure = megabytes,
                       .unit = "MB",
                       .relation = "<=",
                       .mark = 400});
        return;
    }
    if (theirs.empty())
        return;
    const auto share = [](std::vector<double> seconds, size_t hundredths) {
        std::ranges::sort(seconds);
        return seconds[seconds.size() * hundredths / 100];
    };
    const QByteArray wrong =
        "false reads, " + QByteArray::number(ours.linear + ours.matrix) + " codes";
    const auto fewest = std::ranges::min_element(theirs, {}, &Score::wrong) - theirs.begin();
    bench::record({.promise = wrong.constData(),
                   .figure = double(ours.wrong),
                   .reference = readers[size_t(fewest)].name,
                   .referenceFigure = double(theirs[size_t(fewest)].wrong),
                   .relation = "<=",
                   .mark = 0});
    for (const auto& [promise, hundredths, mark] :
         {std::tuple{"a photo of 12 megapixels, median", 50, 0.5},
          std::tuple{"a photo of 12 megapixels, 95 of 100", 95, 1.0}}) {
        bench::record({.promise = promise,
                       .figure = share(ours.seconds, size_t(hundredths)),
                       .unit = "s",
                       .reference = readers[0].name,
                       .referenceFigure = share(theirs[0].seconds, size_t(hundredths)),
                       .relation = "<=",
                       .mark = mark});
    }
}

void add(Score& sum, const Score& score) {
    sum.linear += score.linear;
    sum.matrix += score.matrix;
    sum.wrong += score.wrong;
    sum.seconds.insert(sum.seconds.end(), score.seconds.begin(), score.seconds.end());
}

/// All readers take each photo in turn, so that what else the machine does slows all alike.
int run(const QStringList& arguments) {
    const std::vector<PlainReader> plain =
        arguments.contains("--ours") ? std::vector<PlainReader>() : plainReaders();
    out << "folder         reader       linear   read      2D   read     false   died   median s  "
           " p95 s\n";
    Score oursOfAll;
    std::vector<Score> theirsOfAll(plain.size());
    for (const QString& path : arguments) {
        if (path.startsWith('-'))
            continue;
        const QDir folder(path);
        Score ours;
        std::vector<Score> theirs(plain.size());
        for (const QString& name : folder.entryList({"*.jpg"})) {
            QFile picture(folder.filePath(name));
            if (!picture.open(QIODevice::ReadOnly))
                return 1;
            const QByteArray bytes = picture.readAll();
            const QList<PlacedCode> truth =
                readTruth(folder.filePath(QString(name).replace(".jpg", ".json")));
            QElapsedTimer timer;
            timer.start();
            const auto spent = [&] { return double(timer.nsecsElapsed()) / 1e9; };
            const QImage photo = decodePhoto(bytes);
            const double decoding = spent();
            const QStringList found = readOurs(photo);
            ours.seconds.push_back(spent());
            count(ours, found, truth, name, arguments.contains("--missed"));
            for (size_t i = 0; i < plain.size(); ++i) {
                timer.start();
                const std::optional<QStringList> read = readInChild(plain[i], photo);
                theirs[i].seconds.push_back(decoding + spent());
                theirs[i].died += read ? 0 : 1;
                count(theirs[i], read.value_or(QStringList()), truth, name, false);
            }
        }
        if (ours.seconds.empty())
            continue;
        print(folder.dirName(), "Kopertal", ours);
        for (size_t i = 0; i < plain.size(); ++i)
            print(folder.dirName(), plain[i].name, theirs[i]);
        recordRecall(folder.dirName(), ours, theirs, plain);
        add(oursOfAll, ours);
        for (size_t i = 0; i < plain.size(); ++i)
            add(theirsOfAll[i], theirs[i]);
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const double megabytes = double(usage.ru_maxrss) / 1024;
    out << "peak memory " << megabytes << " MB\n";
    if (oursOfAll.seconds.empty())
        return 1;
    recordWhole(oursOfAll, theirsOfAll, plain, QDir(arguments[0]).dirName() == "large", megabytes);
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
