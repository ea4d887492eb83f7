// The files of report/page, built in.
#pragma once

namespace host {

extern const char kPageHtml[], kPageCss[], kPageJs[];

} // namespace host
