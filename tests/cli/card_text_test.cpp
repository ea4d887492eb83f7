// Texts from cards, which may hold anything.
#include <gmock/gmock.h>

#include "tools/k274/base/text.h"
#include "tools/k274/facts/licence_elements.h"

namespace host {
namespace {

std::string Utf8(const std::string &bytes) {
    return Utf8Text(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

TEST(CardText, KeepsUtf8AndShowsOtherBytes) {
    const std::string cases[][2] = {{"plain\n", "plain\n"},
                                    {"gr\xC3\xBC\xC3\x9F", "gr\xC3\xBC\xC3\x9F"},
                                    {"\xE2\x82\xAC\xF0\x9F\x92\xB3", "\xE2\x82\xAC\xF0\x9F\x92\xB3"},
                                    {"gr\xFC\xDF", "gr\\xFC\\xDF"},
                                    {"\xC0\x80", "\\xC0\\x80"},                   // overlong
                                    {"\xE0\x80\x80", "\\xE0\\x80\\x80"},          // overlong
                                    {"\xED\xA0\x80", "\\xED\\xA0\\x80"},          // a surrogate
                                    {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"}, // beyond the last one
                                    {"\xE2\x82", "\\xE2\\x82"}};                  // cut
    for (const auto &[bytes, text] : cases)
        EXPECT_EQ(Utf8(bytes), text);
    EXPECT_EQ(VisibleText("a\n\x1e\x7f"), "a\xE2\x90\x8A\xE2\x90\x9E\xE2\x90\xA1");
    const std::string sizes[] = {"", "TQ==", "TWE=", "TWFu"}, man = "Man";
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(Base64(reinterpret_cast<const uint8_t *>(man.data()), i), sizes[i]);
    EXPECT_EQ(EscapeHtml("<a b='\"'>&"), "&lt;a b=&#39;&quot;&#39;&gt;&amp;");
}

std::string Ids(const std::string &text) {
    std::string ids;
    for (const LicenceElement &element : LicenceElements(text))
        ids +=
            element.id + "=" + element.value + (element.meaning.empty() ? "" : "/" + element.meaning) + " ";
    return ids;
}

TEST(CardText, FindsLicenceElements) {
    const std::string start = "@\n\x1e\rANSI 00027409";
    const std::string one = start + "0001DL00310013DLDAQ12\nDBC1\r", // 31 characters up to the subfile
        cases[][2] = {
            {one, "DAQ=12 DBC=1/male "},
            {start + "0002DL00410007ZX00480007DLDAQ7\nZXZXA9\n", "DAQ=7 ZXA=9 "},
            {"@\n\x1e\rANSI 00027401"
             "01DL00290008DLDAQ77\n",
             "DAQ=77 "},                                                      // without the issuer's version
            {start + "0001DL00319999DLDBB09141992\nDBA20290914\nDBD99999999", // dates, cut by the end
             "DBB=09141992/1992-09-14 DBA=20290914/2029-09-14 DBD=99999999 "},
            {start + "0001DL99990013DLDAQ12\n", ""},
            {start + "0001DL00320013DLDAQ12\n", ""},
            {start + "0099DL00310013DLDAQ12\nDBC1\r", "DAQ=12 DBC=1/male "},
            {start + "00", ""},
            {start + "0001DL0031001", ""},
            {start + "0001DL00310001D", ""},
            {"ANSI ", ""},
            {"", ""},
            {"no licence, ANSI 000274090001", ""}};
    for (const auto &[text, ids] : cases)
        EXPECT_EQ(Ids(text), ids) << text;
    EXPECT_EQ(LicenceElements(one)[0].name, "licence number");
    for (size_t size = 0; size < one.size(); ++size) // whatever is cut off, nothing beyond is read
        EXPECT_LE(LicenceElements(one.substr(0, size)).size(), 2u);
}

} // namespace
} // namespace host
