#include "bench/frames/barcode_frames.h"

#include <ZXing/BitMatrix.h>
#include <ZXing/CharacterSet.h>
#include <ZXing/MultiFormatWriter.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace barcode_frames {
namespace {

constexpr double kPi = 3.14159265358979323846;

class Random {
public:
    explicit Random(uint32_t seed) : state_(seed * 2654435761u + 88172645463325252ull) {}
    uint32_t Next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<uint32_t>(state_ >> 24);
    }
    int Below(int limit) { return static_cast<int>(Next() % static_cast<uint32_t>(limit)); }

private:
    uint64_t state_;
};

uint8_t ToByte(double value) { return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L)); }

/// The symbol in modules: one entry per row of different content.
struct Modules {
    int width = 0, rows = 0;
    std::vector<bool> dark;
    double rowHeight = 0; // modules
};

ZXing::BitMatrix Encode(const Symbol &symbol) {
    const ZXing::BarcodeFormat format = symbol.kind == Kind::Code128  ? ZXing::BarcodeFormat::Code128
                                        : symbol.kind == Kind::Code39 ? ZXing::BarcodeFormat::Code39
                                                                      : ZXing::BarcodeFormat::PDF417;
    std::wstring wide;
    for (const char c : symbol.text)
        wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    return ZXing::MultiFormatWriter(format)
        .setMargin(0)
        .setEncoding(ZXing::CharacterSet::ISO8859_1)
        .setEccLevel(symbol.correctionLevel)
        .encode(wide, 0, 0);
}

Modules ToModules(const Symbol &symbol) {
    const ZXing::BitMatrix bits = Encode(symbol);
    const bool stacked = symbol.kind == Kind::Pdf417 || symbol.kind == Kind::CompactPdf417;
    constexpr int kWriterRowHeight = 4; // the writer repeats each row of codewords
    Modules modules;
    int left = 0, right = bits.width(); // the writer keeps a quiet zone around linear codes
    while (left < right && !bits.get(left, 0))
        ++left;
    while (right > left && !bits.get(right - 1, 0))
        --right;
    if (symbol.kind == Kind::CompactPdf417)
        right -= 17 + 17; // right indicator, and the stop pattern but for one bar
    modules.width = right - left;
    modules.rows = stacked ? bits.height() / kWriterRowHeight : 1;
    modules.rowHeight = stacked ? symbol.rowModules : symbol.barModules;
    for (int row = 0; row < modules.rows; ++row)
        for (int x = left; x < right; ++x)
            modules.dark.push_back(symbol.kind == Kind::CompactPdf417 && x == right - 1
                                       ? true
                                       : bits.get(x, stacked ? row * kWriterRowHeight : 0));
    return modules;
}

/// From the frame to the symbol: module coordinates are (x, y) = inverse of turn and skew.
struct Mapping {
    double xx, xy, yx, yy; // symbol axes in the frame: one module to the right, one module down
    double centreX, centreY;
};

Mapping MappingOf(const Symbol &symbol, const Damage &damage, double width, double height) {
    const double angle = (symbol.turn & 3) * kPi / 2 + damage.skew * kPi / 180;
    const double flip = symbol.turn & 4 ? -1 : 1;
    Mapping m{};
    m.xx = std::cos(angle) * symbol.module * flip;
    m.xy = std::sin(angle) * symbol.module * flip;
    m.yx = -std::sin(angle) * symbol.module;
    m.yy = std::cos(angle) * symbol.module;
    m.centreX = symbol.centrePixel - (m.xx * width + m.yx * height) / 2;
    m.centreY = symbol.centreLine - (m.xy * width + m.yy * height) / 2;
    return m;
}

struct Box {
    int left, top, right, bottom;
};

Box BoundsOf(const Mapping &m, double left, double top, double right, double bottom) {
    double x0 = 1e9, y0 = 1e9, x1 = -1e9, y1 = -1e9;
    for (const double u : {left, right})
        for (const double v : {top, bottom}) {
            const double x = m.centreX + u * m.xx + v * m.yx, y = m.centreY + u * m.xy + v * m.yy;
            x0 = std::min(x0, x), x1 = std::max(x1, x);
            y0 = std::min(y0, y), y1 = std::max(y1, y);
        }
    return {static_cast<int>(std::floor(x0)), static_cast<int>(std::floor(y0)),
            static_cast<int>(std::ceil(x1)), static_cast<int>(std::ceil(y1))};
}

std::vector<float> BlurKernel(double sigma) {
    const int reach = std::max(1, static_cast<int>(std::ceil(sigma * 3)));
    std::vector<float> kernel;
    double sum = 0;
    for (int i = -reach; i <= reach; ++i) {
        const double w = sigma > 0 ? std::exp(-i * i / (2 * sigma * sigma)) : (i == 0);
        kernel.push_back(static_cast<float>(w));
        sum += w;
    }
    for (float &w : kernel)
        w = static_cast<float>(w / sum);
    return kernel;
}

/// Blurs the part of a frame inside the box in place.
void Blur(Frame &frame, Box box, double sigma) {
    box = {std::max(box.left, 0), std::max(box.top, 0), std::min(box.right, frame.pixels),
           std::min(box.bottom, frame.lines)};
    if (sigma <= 0 || box.left >= box.right || box.top >= box.bottom)
        return;
    const std::vector<float> kernel = BlurKernel(sigma);
    const int reach = static_cast<int>(kernel.size() / 2);
    const int width = box.right - box.left, height = box.bottom - box.top;
    const auto pixel = [&](int x, int y) {
        return frame.grey.data() + static_cast<ptrdiff_t>(y + box.top) * frame.pixels + box.left + x;
    };
    // Whole rows at a time, so that the loops run over neighbouring pixels.
    std::vector<float> padded(static_cast<size_t>(width + 2 * reach)), sum(static_cast<size_t>(width));
    std::vector<float> rows(static_cast<size_t>(width) * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = -reach; x < width + reach; ++x)
            padded[static_cast<size_t>(x + reach)] = *pixel(std::clamp(x, 0, width - 1), y);
        float *row = rows.data() + static_cast<ptrdiff_t>(y) * width;
        for (size_t k = 0; k < kernel.size(); ++k)
            for (int x = 0; x < width; ++x)
                row[x] += kernel[k] * padded[static_cast<size_t>(x) + k];
    }
    for (int y = 0; y < height; ++y) {
        std::fill(sum.begin(), sum.end(), 0.5f);
        for (int k = -reach; k <= reach; ++k) {
            const float *row = rows.data() + static_cast<ptrdiff_t>(std::clamp(y + k, 0, height - 1)) * width;
            for (int x = 0; x < width; ++x)
                sum[static_cast<size_t>(x)] += kernel[static_cast<size_t>(k + reach)] * row[x];
        }
        for (int x = 0; x < width; ++x)
            *pixel(x, y) = static_cast<uint8_t>(std::clamp(sum[static_cast<size_t>(x)], 0.0f, 255.0f));
    }
}

void Fill(Frame &frame, Box box, int grey) {
    for (int y = std::max(box.top, 0); y < std::min(box.bottom, frame.lines); ++y)
        for (int x = std::max(box.left, 0); x < std::min(box.right, frame.pixels); ++x)
            frame.grey[static_cast<size_t>(y) * static_cast<size_t>(frame.pixels) + static_cast<size_t>(x)] =
                static_cast<uint8_t>(grey);
}

/// Words of upright strokes, and a portrait of soft patches.
void Print(Frame &frame, const Box &card, const Damage &damage, Random &random) {
    for (int line = 0; line < 9; ++line) {
        int x = card.left + 700 + random.Below(60);
        const int y = card.top + 80 + line * 110;
        while (x < card.right - 120) {
            const int width = 4 + random.Below(6);
            Fill(frame, {x, y + random.Below(12), x + width, y + 26 + random.Below(14)}, damage.ink + 10);
            if (random.Below(3) == 0)
                Fill(frame, {x, y + 14, x + 18, y + 19}, damage.ink + 10);
            x += width + 4 + random.Below(16) + (random.Below(7) == 0 ? 50 : 0);
        }
    }
    const int patches = 120;
    for (int i = 0; i < patches; ++i) {
        const int x = card.left + 60 + random.Below(440), y = card.top + 120 + random.Below(640);
        Fill(frame, {x, y, x + 20 + random.Below(90), y + 20 + random.Below(90)},
             damage.ink + random.Below(std::max(1, damage.paper - damage.ink)));
    }
}

} // namespace

Frame BlankFrame(int lines, int pixels, const Damage &damage, bool printed, uint32_t seed) {
    constexpr int kSurround = 12;
    constexpr int kCardWidth = 1880, kCardHeight = 1180;
    Frame frame;
    frame.lines = lines;
    frame.pixels = pixels;
    const bool large = lines >= 2 * kCardHeight && pixels > kCardWidth;
    frame.grey.assign(static_cast<size_t>(lines) * static_cast<size_t>(pixels),
                      static_cast<uint8_t>(large ? kSurround : damage.paper));
    if (!large)
        return frame;
    Random random(seed);
    for (const int top : {40, 1350 + 8}) {
        const Box card{210, top, 210 + kCardWidth, top + kCardHeight};
        Fill(frame, card, damage.paper);
        if (printed)
            Print(frame, card, damage, random);
    }
    Blur(frame, {0, 0, pixels, lines}, printed ? damage.blur : 0);
    return frame;
}

Truth Draw(Frame &frame, const Symbol &symbol, const Damage &damage) {
    const Modules modules = ToModules(symbol);
    const double width = modules.width, height = modules.rows * modules.rowHeight;
    const Mapping m = MappingOf(symbol, damage, width, height);
    const double quietX = symbol.kind == Kind::Pdf417 || symbol.kind == Kind::CompactPdf417 ? 3 : 10;
    constexpr double kQuietY = 3;
    const Box drawn = BoundsOf(m, -quietX, -kQuietY, width + quietX, height + kQuietY);
    const double scale = symbol.module * symbol.module;
    constexpr int kSub = 3; // samples per pixel and direction
    for (int y = std::max(drawn.top, 0); y < std::min(drawn.bottom + 1, frame.lines); ++y)
        for (int x = std::max(drawn.left, 0); x < std::min(drawn.right + 1, frame.pixels); ++x) {
            uint8_t &pixel = frame.grey[static_cast<size_t>(y) * static_cast<size_t>(frame.pixels) +
                                        static_cast<size_t>(x)];
            double sum = 0;
            for (int s = 0; s < kSub * kSub; ++s) {
                const double dx = x + (s % kSub + 0.5) / kSub - m.centreX;
                const double dy = y + (s / kSub + 0.5) / kSub - m.centreY;
                const double u = (dx * m.xx + dy * m.xy) / scale, v = (dx * m.yx + dy * m.yy) / scale;
                if (u < -quietX || u > width + quietX || v < -kQuietY || v > height + kQuietY) {
                    sum += pixel;
                } else {
                    const bool dark = u >= 0 && u < width && v >= 0 && v < height &&
                                      modules.dark[static_cast<size_t>(v / modules.rowHeight) *
                                                       static_cast<size_t>(modules.width) +
                                                   static_cast<size_t>(u)];
                    sum += dark ? damage.ink : damage.paper;
                }
            }
            pixel = ToByte(sum / (kSub * kSub));
        }
    Blur(frame, {drawn.left - 8, drawn.top - 8, drawn.right + 8, drawn.bottom + 8}, damage.blur);

    const Box box = BoundsOf(m, 0, 0, width, height);
    const bool quarter = symbol.turn & 1;
    const double towards = quarter ? m.xy : m.xx;
    return {box.top, box.bottom - 1, towards > 0 ? 1 : 2, modules.rows,
            symbol.kind == Kind::Pdf417          ? (modules.width - 69) / 17
            : symbol.kind == Kind::CompactPdf417 ? (modules.width - 35) / 17
                                                 : 0};
}

void AddNoise(Frame &frame, const Damage &damage, uint32_t seed) {
    if (damage.noise <= 0)
        return;
    // The sum of four bytes is near enough to a normal distribution.
    constexpr double kFourBytes = 147.8;
    std::array<int8_t, 1024> table{};
    for (int i = 0; i < 1024; ++i)
        table[static_cast<size_t>(i)] = static_cast<int8_t>(
            std::lround(std::clamp((i - 510) * damage.noise / kFourBytes, -127.0, 127.0)));
    Random random(seed + 77);
    for (uint8_t &pixel : frame.grey) {
        const uint32_t r = random.Next();
        const uint32_t sum = (r & 255) + ((r >> 8) & 255) + ((r >> 16) & 255) + (r >> 24);
        pixel = static_cast<uint8_t>(std::clamp(pixel + table[sum], 0, 255));
    }
}

std::string SampleText(size_t length, uint32_t seed) {
    static constexpr char kCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 ";
    Random random(seed);
    std::string text;
    while (text.size() < length)
        text += kCharacters[random.Below(static_cast<int>(sizeof kCharacters) - 1)];
    return text;
}

std::string SampleBytes(size_t length, uint32_t seed) {
    Random random(seed);
    std::string text;
    while (text.size() < length)
        text += static_cast<char>(random.Next());
    return text;
}

Damage StandardDamage(int degree) {
    static constexpr Damage kDamage[kDegrees] = {{205, 30, 0, 0.6, 0},   // clean
                                                 {190, 40, 2, 0.9, 0.7}, // usual
                                                 {170, 50, 4, 1.3, -1.8},
                                                 {150, 60, 6, 1.7, 3}}; // contrast 90
    return kDamage[degree];
}

Sample StandardSample(bool linear, int number) {
    const int turn = number % 8, side = number / 8 % 2, degree = number / 16 % kDegrees;
    Sample sample;
    sample.damage = StandardDamage(degree);
    Symbol &symbol = sample.symbol;
    symbol.turn = turn;
    symbol.centreLine = (side ? 1950 : 620) + number * 7 % 60;
    symbol.centrePixel = 1100 + number * 13 % 90;
    const auto seed = static_cast<uint32_t>(number);
    if (linear) {
        symbol.kind = number & 8 ? Kind::Code39 : Kind::Code128;
        symbol.module = 4.2 + number * 5 % 7 * 0.2;
        symbol.text = SampleText(8 + static_cast<size_t>(number % 5), seed);
        std::replace(symbol.text.begin(), symbol.text.end(), ' ', '-');
    } else {
        symbol.module = 3.7 + number * 5 % 7 * 0.15;
        // The card is only so high.
        const int least = turn & 1 ? 40 : 60, range = turn & 1 ? 60 : 240;
        symbol.text = SampleText(static_cast<size_t>(least + number * 37 % range), seed);
    }
    return sample;
}

Frame SampleFrame(const Sample &sample, const Frame &blank, uint32_t seed, Truth *truth) {
    Frame frame = blank;
    *truth = Draw(frame, sample.symbol, sample.damage);
    AddNoise(frame, sample.damage, seed);
    return frame;
}

} // namespace barcode_frames
