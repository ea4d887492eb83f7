// The scenarios of this folder and of the link's: what passes in scans, passes, polls and single exchanges.
#include "tests/support/scenario.h"

namespace {

struct Scenarios : Scenario, testing::WithParamInterface<std::string> {};

TEST_P(Scenarios, GoAsKept) { Play("scan/transcripts/" + GetParam() + ".txt"); }

INSTANTIATE_TEST_SUITE_P(Scan, Scenarios, testing::ValuesIn(ScenariosIn("scan/transcripts")),
                         [](const auto &scenario) { return scenario.param; });

} // namespace
