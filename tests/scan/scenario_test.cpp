// All scenarios: what passes in scans, passes, polls, single exchanges and the workshop's commands.
#include "tests/support/scenario.h"

namespace {

struct Scenarios : Scenario, testing::WithParamInterface<std::string> {};

TEST_P(Scenarios, GoAsKept) { Play(GetParam()); }

std::string NameOf(const testing::TestParamInfo<std::string> &file) {
    return std::filesystem::path(file.param).stem().string();
}
INSTANTIATE_TEST_SUITE_P(Exports, Scenarios, testing::ValuesIn(ScenariosIn("api/transcripts")), NameOf);
INSTANTIATE_TEST_SUITE_P(Link, Scenarios, testing::ValuesIn(ScenariosIn("link/transcripts")), NameOf);
INSTANTIATE_TEST_SUITE_P(Log, Scenarios, testing::ValuesIn(ScenariosIn("log/transcripts")), NameOf);
INSTANTIATE_TEST_SUITE_P(Scan, Scenarios, testing::ValuesIn(ScenariosIn("scan/transcripts")), NameOf);
INSTANTIATE_TEST_SUITE_P(Workshop, Scenarios, testing::ValuesIn(ScenariosIn("maint/transcripts")), NameOf);

} // namespace
