#include "scan/Code128Matching.h"

#include "scan/BarProfile.h"
#include "scan/CheckDigits.h"
#include "scan/Code128Text.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <vector>

namespace kopertal {
namespace {

constexpr int perModule = 6; // samples of a template
constexpr int context = 1;   // modules beside a symbol: a space before it, a bar behind it
constexpr int templateModules = code128Modules + 2 * context;
constexpr int templateSize = templateModules * perModule;
constexpr int stopModules = 13;
/// Many bands part what is hidden from what is not; few bear more noise.
struct Bands {
    int count;
    Along along;
    float ceiling = 1; ///< Paler ink is taken off.
};
constexpr std::array bandings{Bands{12, Along::mean}, Bands{3, Along::mean},
                              Bands{4, Along::lightest}, Bands{4, Along::lightest, 0.3F}};

/// Zero mean, unit length.
void normalise(cv::Mat row) {
    row -= cv::mean(row)[0];
    const double length = cv::norm(row);
    if (length > 1e-6)
        row /= length;
}

/// Bars are low. The last row is the stop symbol's first eleven modules.
cv::Mat makeTemplates(double blur) {
    cv::Mat result(code128Symbols + 1, templateSize, CV_32F, cv::Scalar(1));
    for (int symbol = 0; symbol <= code128Symbols; ++symbol) {
        cv::Mat row = result.row(symbol);
        int at = context;
        for (int i = 0; i < 6; ++i) {
            const int width = symbol < code128Symbols
                                  ? code128Widths(symbol)[static_cast<size_t>(i)]
                                  : code128StopWidths[static_cast<size_t>(i)];
            row.colRange(at * perModule, (at + width) * perModule) = cv::Scalar(i % 2);
            at += width;
        }
        row.colRange(at * perModule, templateSize) = cv::Scalar(0);
        cv::GaussianBlur(row, row, {0, 1}, blur * perModule, 0.01, cv::BORDER_REPLICATE);
        normalise(row);
    }
    return result;
}

const std::array<cv::Mat, 2>& templates() {
    static const std::array result{makeTemplates(0.35), makeTemplates(0.75)};
    return result;
}

/// How much the symbol at `start` looks like each of all, from 0 to 1; a row of one value a symbol.
cv::Mat likeness(const cv::Mat& bands, double start, double module, const cv::Mat& patterns) {
    const double step = module / perModule;
    cv::Mat samples(bands.rows, templateSize, CV_32F);
    for (int i = 0; i < templateSize; ++i) {
        const double x = start + (i + 0.5) * step - context * module - 0.5;
        const int left = std::clamp(static_cast<int>(std::floor(x)), 0, bands.cols - 2);
        const auto part = static_cast<float>(std::clamp(x - left, 0.0, 1.0));
        for (int y = 0; y < bands.rows; ++y) {
            const float* row = bands.ptr<float>(y);
            samples.at<float>(y, i) = row[left] * (1 - part) + row[left + 1] * part;
        }
    }
    for (int y = 0; y < samples.rows; ++y)
        normalise(samples.row(y));
    cv::Mat scores = samples * patterns.t();
    // A line that is hidden says nothing rather than no.
    scores = cv::max(scores, 0.3);
    cv::Mat mean;
    cv::reduce(scores, mean, 0, cv::REDUCE_AVG);
    return mean;
}

struct Symbol {
    int best = 0;
    int second = 0;
    float score = 0;
    float margin = 0;
};

Symbol strongest(const cv::Mat& scores, int from, int to) {
    Symbol result;
    float first = -1;
    float next = -1;
    for (int i = from; i < to; ++i) {
        const float score = scores.at<float>(0, i);
        if (score > first) {
            next = first;
            result.second = result.best;
            first = score;
            result.best = i;
        } else if (score > next) {
            next = score;
            result.second = i;
        }
    }
    result.score = first;
    result.margin = first - next;
    return result;
}

bool isLetterNumber(const QString& text) {
    return (text.size() == 20 && text.startsWith(QLatin1String("00")) && hasGs1CheckDigit(text)) ||
           isPostalUnionNumber(text);
}

/// The text, also with one of the least certain symbols replaced by its next best.
std::optional<QString> letterNumber(const std::vector<Symbol>& symbols) {
    std::vector<int> values;
    for (const Symbol& symbol : symbols)
        values.push_back(symbol.best);
    const auto accepted = [&]() -> std::optional<QString> {
        std::optional<QString> text = code128Text(values);
        return text && isLetterNumber(*text) ? text : std::nullopt;
    };
    if (std::optional<QString> text = accepted())
        return text;
    constexpr size_t mostReplaced = 2;
    constexpr float uncertain = 0.03F;
    std::vector<size_t> order(symbols.size());
    std::iota(order.begin(), order.end(), size_t(0));
    std::ranges::sort(order, {}, [&](size_t i) { return symbols[i].margin; });
    for (size_t i = 0; i < mostReplaced && symbols[order[i]].margin < uncertain; ++i) {
        int& value = values[order[i]];
        value = symbols[order[i]].second;
        if (std::optional<QString> text = accepted())
            return text;
        value = symbols[order[i]].best;
    }
    return std::nullopt;
}

struct Grid {
    double start;
    double module;
};

struct Place {
    double start = 0;
    float score = 0; ///< How much it looks like one of the symbols that are looked for.
};

/// Every place from `from` to `to`, `step` apart; all in modules.
std::vector<Place> places(const cv::Mat& bands, double from, double to, double step, double module,
                          const cv::Mat& patterns) {
    std::vector<Place> result;
    for (double at = from; at <= to; at += step * module) {
        double score = 0;
        cv::minMaxLoc(likeness(bands, at, module, patterns), nullptr, &score);
        result.push_back({at, static_cast<float>(score)});
    }
    return result;
}

/// The best few of them that are at least a module apart.
std::vector<Place> peaks(std::vector<Place> candidates, double module) {
    constexpr size_t most = 3;
    std::ranges::sort(candidates, std::ranges::greater(), &Place::score);
    std::vector<Place> result;
    for (const Place& place : candidates) {
        if (result.size() < most && std::ranges::none_of(result, [&](const Place& better) {
                return std::abs(place.start - better.start) < module;
            }))
            result.push_back(place);
    }
    return result;
}

/// From where the first and the last symbol look most like a start and a stop symbol that one width
/// of a module fits. Nothing when they do not.
std::optional<Grid> aligned(const cv::Mat& bands, double start, double end, int modules,
                            const cv::Mat& patterns) {
    constexpr double inside = 12; // modules: ink in the quiet zone passes for bars
    constexpr double outside = 3; // modules
    constexpr double step = 0.5;  // modules
    const cv::Mat starts = patterns.rowRange(code128StartA, code128Symbols);
    const cv::Mat stops = patterns.row(code128Symbols);
    const double about = (end - start) / modules;
    const double stop = end - stopModules * about;
    const std::vector<Place> firsts = peaks(
        places(bands, start - outside * about, start + inside * about, step, about, starts), about);
    const std::vector<Place> lasts = peaks(
        places(bands, stop - inside * about, stop + outside * about, step, about, stops), about);
    std::optional<Grid> best;
    float bestScore = 0;
    for (const Place& first : firsts) {
        for (const Place& last : lasts) {
            const double module = (last.start - first.start) / (modules - stopModules);
            const auto refined = [&](const Place& place, const cv::Mat& symbols) {
                const double reach = step * module;
                return std::ranges::max(places(bands, place.start - reach, place.start + reach,
                                               step / 2, module, symbols),
                                        {}, &Place::score);
            };
            constexpr float least = 0.62F;
            const Place from = refined(first, starts);
            const Place to = refined(last, stops);
            if (from.score < least || to.score < least || from.score + to.score <= bestScore)
                continue;
            bestScore = from.score + to.score;
            best = Grid{from.start, (to.start - from.start) / (modules - stopModules)};
        }
    }
    return best;
}

std::optional<QString> match(const cv::Mat& bands, Grid grid, int count, const cv::Mat& patterns) {
    std::vector<Symbol> symbols;
    double drift = 0; // in modules: paper bends, and what is nearer is larger
    for (int i = 0; i < count; ++i) {
        Symbol best;
        double bestDrift = drift;
        for (const double step : {0.0, -0.2, 0.2}) {
            const double at = grid.start + (i * code128Modules + drift + step) * grid.module;
            const Symbol symbol =
                strongest(likeness(bands, at, grid.module, patterns), i == 0 ? code128StartA : 0,
                          i == 0 ? code128Symbols : code128StartA);
            if (symbol.score > best.score + (step == 0 ? 0 : 0.005F)) {
                best = symbol;
                bestDrift = drift + step;
            }
        }
        drift = 0.5 * (drift + bestDrift);
        symbols.push_back(best);
    }
    constexpr float least = 0.7F; // few that are aligned wrongly score more
    const float total = std::accumulate(symbols.begin(), symbols.end(), 0.0F,
                                        [](float sum, const Symbol& s) { return sum + s.score; });
    if (total < least * static_cast<float>(count))
        return std::nullopt;
    return letterNumber(symbols);
}

std::optional<QString> matchBands(const cv::Mat& upright, float start, float end, float stroke) {
    cv::Mat turned;
    cv::flip(upright, turned, 1);
    // Both kinds of number take 13 symbols before the stop symbol in what prints them; a postal
    // union's number without digit pairs takes 15.
    for (const int count : {13, 15, 12, 14}) {
        const int modules = count * code128Modules + stopModules;
        const float module = (end - start) / static_cast<float>(modules);
        if (module < stroke * 0.4F || module > stroke * 1.3F)
            continue;
        for (const cv::Mat& patterns : templates()) {
            for (const bool isTurned : {false, true}) {
                const cv::Mat& bands = isTurned ? turned : upright;
                const double from = isTurned ? static_cast<float>(upright.cols) - end : start;
                const double to = isTurned ? static_cast<float>(upright.cols) - start : end;
                const std::optional<Grid> grid = aligned(bands, from, to, modules, patterns);
                if (!grid)
                    continue;
                if (std::optional<QString> text = match(bands, *grid, count, patterns))
                    return text;
            }
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> matchLetterNumber(const cv::Mat& patch, float start, float end,
                                         float stroke) {
    for (const Bands& bands : bandings) {
        if (std::optional<QString> text = matchBands(
                barRows(withoutPaleInk(patch, bands.ceiling, stroke), bands.count, bands.along),
                start, end, stroke))
            return text;
    }
    return std::nullopt;
}

} // namespace kopertal
