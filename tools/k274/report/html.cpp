// Cells, tables and verdicts.
#include "tools/k274/report/html.h"

namespace host {

std::string Cell(const std::string &html, const char *style) {
    return style == nullptr ? "<td>" + html + "</td>"
                            : std::string("<td class=\"") + style + "\">" + html + "</td>";
}

std::string RowHead(const std::string &html) { return "<tr><th scope=\"row\">" + html + "</th>"; }

std::string Table(const std::string &caption, std::initializer_list<const char *> heads,
                  const std::string &rows) {
    std::string html = "<table>\n<caption>" + caption + "</caption>\n<thead><tr>";
    for (const char *head : heads) { // those of numbers begin with #
        const bool number = *head == '#';
        html += std::string("<th scope=\"col\"") + (number ? " class=\"number\">" : ">") +
                (number ? head + 1 : head) + "</th>";
    }
    return html + "</tr></thead>\n<tbody>\n" + rows + "</tbody>\n</table>\n";
}

// Colour is never alone: a mark and the word go with it.
std::string Verdict(const std::string &grade, const std::string &text) {
    const char *mark = grade == "good" ? "&#10003;" : grade == "marginal" ? "&#9650;" : "&#10007;";
    return "<span class=\"" + grade + "\"><span aria-hidden=\"true\">" + mark + "</span> " + text + "</span>";
}

} // namespace host
