#include "src/state/settings.h"

#include "include/k274.h"
#include "tests/support/library_fixture.h"

#include <fstream>
#include <tuple>

namespace {

struct SettingsTest : LibraryTest {
    static std::string Name() {
        char name[k274::Settings::kNameSize];
        return k274::settings.AutoSaveFileName(name) ? name : "(none)";
    }
};

TEST_F(SettingsTest, NamesFollowTheFile) {
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"[Demo]\nAutoSaveName=card\nAutoSaveNum=7\n", "card007", "card008"},
        {"[demo]\nautosavename = tencharact \nAUTOSAVENUM=5\n", "tenchar005", "tenchar006"},
        {"[Demo]\nAutoSaveName=x\nAutoSaveNum=999\n", "x999", "x1000"},
        {"[Demo]\nAutoSaveName=x\nAutoSaveNum=1234\n", "x1234", "x1235"},
        {"[Demo]\nAutoSaveName=x\nAutoSaveNum=-3\n", "x-03", "x-03"},
        {"[Demo]\nAutoSaveName=x\nAutoSaveNum=2147483647\n", "x2147483647", "x2147483647"},
        {"[Demo]\nAutoSaveName=x\nAutoSaveNum=0\n", "(none)", "(none)"},
        {"[Demo]\nAutoSaveNum=4\n", "(none)", "(none)"},
        {"[Demo]\nAutoSaveName=x\nAutoSaveNum=seven\n", "(none)", "(none)"},
        {"\xff\xfe garbage [[[ =\n\n=\n", "(none)", "(none)"},
        {"", "(none)", "(none)"},
    };
    for (const auto &[file, name, next] : cases) {
        std::ofstream(folder + "K274.ini") << file;
        K274_SetLogPath(folder.c_str());
        k274::settings.FixPath();
        K274_SetLogPath("/nonexistent/"); // the path stays where it was fixed
        k274::settings.LoadSettings();
        EXPECT_EQ(Name(), name) << file;
        k274::settings.AdvanceAutoSaveNum();
        EXPECT_EQ(Name(), next) << file;
        k274::settings.LoadSettings(); // what was advanced has been written
        EXPECT_EQ(Name(), next) << file;
    }
}

} // namespace
