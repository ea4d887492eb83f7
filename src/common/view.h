// Views of image buffers: a pointer with its geometry. A stage takes views, so that it can be tested and
// measured alone. Access through a view is checked in builds with K274_CHECK_BOUNDS and free elsewhere,
// where the loop bounds prove it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace k274 {

template <typename Byte, int Channels>
struct ImageView {
    Byte *data;
    int rows, columns;

    static constexpr int kChannels = Channels;
    ptrdiff_t Stride() const { return static_cast<ptrdiff_t>(columns) * Channels; }
    size_t Size() const { return static_cast<size_t>(rows) * static_cast<size_t>(Stride()); }

    Byte *Row(int row) const {
        Check(row >= 0 && row < rows);
        return data + row * Stride();
    }
    /// First byte of a pixel.
    Byte *Pixel(int row, int column) const {
        Check(column >= 0 && column < columns);
        return Row(row) + static_cast<ptrdiff_t>(column) * Channels;
    }
    operator ImageView<const Byte, Channels>() const { return {data, rows, columns}; }

private:
    static void Check([[maybe_unused]] bool inside) {
#ifdef K274_CHECK_BOUNDS
        if (!inside)
            std::abort();
#endif
    }
};

using ColourView = ImageView<uint8_t, 3>;
using ConstColourView = ImageView<const uint8_t, 3>;
using GreyView = ImageView<uint8_t, 1>;
using ConstGreyView = ImageView<const uint8_t, 1>;

} // namespace k274
