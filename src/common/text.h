// Texts in fixed buffers: cut to fit, always terminated.
#pragma once

#include "platform/os/printf_format.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace k274 {

/// Copies at most `size` - 1 characters.
inline void CopyText(char *to, size_t size, const char *from) {
    const size_t length = strnlen(from, size - 1);
    std::memcpy(to, from, length);
    to[length] = 0;
}

template <size_t Size>
struct FixedText {
    char chars[Size] = {};
    operator const char *() const { return chars; }
};

/// One formatted message of the log, cut to the 127 characters that its lines hold.
PRINTF_FORMAT(1, 2)
inline FixedText<128> Format(const char *format, ...) {
    FixedText<128> text;
    __builtin_va_list arguments;
    __builtin_va_start(arguments, format);
    std::vsnprintf(text.chars, sizeof text.chars, format, arguments);
    __builtin_va_end(arguments);
    return text;
}

} // namespace k274
