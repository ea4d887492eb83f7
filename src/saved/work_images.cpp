// Marks and dumps of the working images.
#include "src/saved/work_images.h"

#include "src/bmp/bmp.h"
#include "src/common/geometry.h"
#include "src/state/barcode_state.h"
#include "src/state/line_buffers.h"

namespace k274 {

namespace {

constexpr int kUvBackColumn = 684;

struct ColourDump {
    uint16_t selector;
    ColourView WorkImages::*image;
    const char *path;
};

constexpr ColourDump kColourDumps[] = {
    {11, &WorkImages::RGBr, "C:\\K274\\BMP\\K274_RGBr.bmp"},
    {12, &WorkImages::RGBc, "C:\\K274\\BMP\\K274_RGBc.bmp"},
    {31, &WorkImages::UVr, "C:\\K274\\BMP\\K274_UVr.bmp"},
    {32, &WorkImages::UVc, "C:\\K274\\BMP\\K274_UVc.bmp"},
};

struct GreyDump {
    uint16_t selector;
    GreyView WorkImages::*image;
    const char *path;
};

constexpr GreyDump kGreyDumps[] = {
    {1, &WorkImages::MSIr, "C:\\K274\\BMP\\K274_MSIr.bmp"},
    {13, &WorkImages::RED0, "K274_RED0.bmp"},
    {14, &WorkImages::RED1, "K274_RED1.bmp"},
    {21, &WorkImages::IRr, "C:\\K274\\BMP\\K274_IRr.bmp"},
    {22, &WorkImages::IRc, "C:\\K274\\BMP\\K274_IRc.bmp"},
};

/// Sets the first byte of a row's pixels, both ends included: the blue one of colour pixels.
template <typename View>
void MarkRow(View image, int first, int last, uint8_t value) {
    for (int column = first; column <= last; ++column)
        *image.Pixel(kBackFirstRow, column) = value;
}

void MarkColumn(ColourView image) {
    for (int row = 0; row < image.rows; ++row)
        *image.Pixel(row, kUvBackColumn) = 127;
}

} // namespace

void MarkBackHalf(const WorkImages &images) {
    MarkRow(images.RGBr, 8, 2292, 255);
    MarkRow(images.RGBc, 8, 2292, 127);
    MarkRow(images.IRr, 12, 2399, 127);
    MarkColumn(images.UVr);
    MarkColumn(images.UVc);
}

void SaveWorkImage(const WorkImages &images, uint16_t selector) {
    MarkBackHalf(images);
    for (const ColourDump &dump : kColourDumps)
        if (dump.selector == selector)
            WriteBmp24(images.*dump.image, dump.path);
    for (const GreyDump &dump : kGreyDumps)
        if (dump.selector == selector)
            WriteBmp8(images.*dump.image, dump.path);
}

void DumpWorkImage(uint16_t selector) {
    std::lock_guard guard(barcode.lock); // a decoder may be building its image
    SaveWorkImage({RawColour(), CorrectedColour(), RawUltraviolet(), CorrectedUltraviolet(), RawInfrared(),
                   CorrectedInfrared(), Red0(), Red1(), RawStripe()},
                  selector);
}

} // namespace k274
