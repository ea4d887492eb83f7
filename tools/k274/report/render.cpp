// JSON values for the template library.
#include "tools/k274/report/render.h"

#include <kainjow/mustache.hpp>
#include <nlohmann/json.hpp>

#include "tools/k274/base/errors.h"
#include "tools/k274/base/text.h"
#include "tools/k274/report/templates.h"

namespace host {

using kainjow::mustache::data;
using nlohmann::ordered_json;

namespace {

data ValueOf(const ordered_json &json) {
    if (json.is_null() || json.is_boolean())
        return data(!json.is_null() && json.get<bool>());
    if (json.is_string())
        return data(json.get_ref<const std::string &>());
    if (json.is_object()) {
        data object;
        for (const auto &[key, value] : json.items())
            object.set(key, ValueOf(value));
        return object;
    }
    if (!json.is_array())
        return data(json.dump());
    data list{data::type::list};
    for (const ordered_json &value : json)
        list.push_back(ValueOf(value));
    return list;
}

} // namespace

std::string RenderPage(const ordered_json &values) {
    data all = ValueOf(values);
    all.set("style", data(kPageCss));
    all.set("script", data(kPageJs));
    const auto add = [&all](const char *name, const char *text) {
        all.set(name, data(kainjow::mustache::partial([text] { return std::string(text); })));
    };
    add("partial-maint", kMaintHtml);
    add("partial-measures", kMeasuresHtml);
    add("partial-plot", kPlotHtml);
    add("partial-verdict", kVerdictHtml);
    kainjow::mustache::mustache page(kPageHtml);
    page.set_custom_escape(EscapeHtml);
    std::string text = page.render(all);
    if (!page.is_valid())
        throw HostError(Exit::kInternal, "the page cannot be made: " + page.error_message());
    return text;
}

} // namespace host
