// Lets the compiler check a function's arguments against its printf format: the standard's own conversions on
// every system, which mingw has another name for.
#pragma once

#ifdef __MINGW32__
#define PRINTF_FORMAT(text, first) __attribute__((format(gnu_printf, text, first)))
#else
#define PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))
#endif
