// Texts from cards, which may hold anything: the rows of texts.txt.
#include "tests/support/data.h"
#include "tools/k274/base/text.h"
#include "tools/k274/facts/licence_elements.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace host {
namespace {

const uint8_t *Bytes(const std::string &text) { return reinterpret_cast<const uint8_t *>(text.data()); }

std::string Elements(const std::string &text) {
    std::string told;
    for (const LicenceElement &element : LicenceElements(text))
        told += element.id + " " + element.name + " = " + element.value + " (" + element.meaning + ") ";
    return told.substr(0, told.find_last_of(')') + 1);
}

const std::map<std::string, std::function<std::string(const std::string &)>> kConversions = {
    {"utf8", [](const std::string &text) { return Utf8Text(Bytes(text), text.size()); }},
    {"visible", VisibleText},
    {"base64", [](const std::string &text) { return Base64(Bytes(text), text.size()); }},
    {"html", EscapeHtml},
    {"licence", Elements},
};

TEST(Texts, AreConverted) {
    for (const auto &row : Table("cli/texts.txt")) {
        EXPECT_EQ(kConversions.at(row[0])(row[1]), row[2]) << row[0] << ' ' << row[1];
        for (size_t size = 0; size < row[1].size(); ++size) // whatever is cut off, nothing beyond is read
            kConversions.at(row[0])(row[1].substr(0, size));
    }
}

} // namespace
} // namespace host
