// Automatic names from the settings file (settings.txt).
#include "src/state/settings.h"

#include "include/k274.h"
#include "tests/support/data.h"
#include "tests/support/library_fixture.h"

#include <fstream>

namespace {

struct SettingsTest : LibraryTest {
    static std::string Name() {
        char name[k274::Settings::kNameSize];
        return k274::settings.AutoSaveFileName(name) ? name : "(none)";
    }
};

TEST_F(SettingsTest, NamesFollowTheFile) {
    for (const auto &row : Table("api/settings.txt")) {
        const std::string &file = row[0], &name = row[1], &next = row[2];
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
