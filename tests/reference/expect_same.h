// One step against its plain form.
#pragma once

#include <gtest/gtest.h>

#include <tuple>

namespace k274 {

/// Calls both with the arguments and then with images of their own, a tuple of them, which must end alike.
template <typename Images, typename Fast, typename Plain, typename... Arguments>
void ExpectSame(const Images &before, const Fast &fast, const Plain &plain, const Arguments &...arguments) {
    Images images = before, expected = before;
    std::apply([&](auto &...image) { fast(arguments..., image.View()...); }, images);
    std::apply([&](auto &...image) { plain(arguments..., image.View()...); }, expected);
    EXPECT_TRUE(images == expected);
}

} // namespace k274
