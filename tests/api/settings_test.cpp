#include "src/api/settings.h"

#include "include/k274.h"
#include "tests/support/library_fixture.h"

#include <fstream>

namespace {

struct SettingsTest : LibraryTest {
    void Load(const std::string &text) {
        std::ofstream(folder + "K274.ini") << text;
        k274::settings.FixPath();
        k274::settings.LoadSettings();
    }
    static std::string Name() {
        char name[k274::Settings::kNameSize];
        return k274::settings.AutoSaveFileName(name) ? name : "(none)";
    }
};

TEST_F(SettingsTest, NamesFollowTheFile) {
    const struct {
        const char *file, *name, *next; // next: the name after an automatic save
    } cases[] = {
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
    for (const auto &c : cases) {
        Load(c.file);
        EXPECT_EQ(Name(), c.name) << c.file;
        k274::settings.AdvanceAutoSaveNum();
        EXPECT_EQ(Name(), c.next) << c.file;
        k274::settings.LoadSettings(); // what was advanced has been written
        EXPECT_EQ(Name(), c.next) << c.file;
    }
}

TEST_F(SettingsTest, PathStaysWhereItWasFixed) {
    Load("[Demo]\nAutoSaveName=here\nAutoSaveNum=1\n");
    K274_SetLogPath("/nonexistent/");
    k274::settings.LoadSettings();
    EXPECT_EQ(Name(), "here001");
}

} // namespace
