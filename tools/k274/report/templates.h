// The files of report/page, built in.
#pragma once

namespace host {

extern const char kPageHtml[], kPageCss[], kPageJs[];
// Parts of the page that stand in it more than once, or for themselves.
extern const char kMaintHtml[], kMeasuresHtml[], kPlotHtml[], kVerdictHtml[];

} // namespace host
