// Tables that draw into images, line by line, and ask what is measured on them:
//   rgb 5                        all of an image
//   rgb 21-1179 101-1970 150     rows, columns, value; 25-1120/5 is every fifth one
//   rgb:2 900 0-799 c/10         one channel; the tenth part of the column, r/10 of the row
//   RgbLevels | 99 101           a question and its answer
//   raw 6 2690-2692 | 200 10 20  what an image holds
#pragma once

#include "src/common/view.h"

#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>

namespace k274 {

struct Canvas {
    template <int Channels>
    Canvas(ImageView<uint8_t, Channels> view)
        : data(view.data), rows(view.rows), columns(view.columns), channels(Channels) {}

    uint8_t *data;
    int rows, columns, channels;
};
using Canvases = std::map<std::string, Canvas>;
/// By the first word of the question; the stream holds the others.
using Answers = std::map<std::string, std::function<std::string(std::istream &words)>>;

void PlayDrawings(const std::string &table, const Canvases &canvases, const Answers &answers);

/// Numbers, and arrays of them, as an answer shows them.
template <typename Value>
void Append(std::string &text, const Value &value) {
    if constexpr (std::is_array_v<Value>) {
        for (const auto &each : value)
            Append(text, each);
    } else {
        std::ostringstream word;
        word << (text.empty() ? "" : " ") << std::setprecision(9) << +value;
        text += word.str();
    }
}

template <typename... Values>
std::string Words(const Values &...values) {
    std::string text;
    (Append(text, values), ...);
    return text;
}

/// What a list holds at the places that the stream still has.
template <typename List>
std::string WordsAt(const List &list, std::istream &places) {
    std::string text;
    for (size_t at = 0; places >> at;)
        Append(text, list[at]);
    return text;
}

} // namespace k274
