#include "probe/show/LayoutText.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

#include <nlohmann/json.hpp>

namespace Kyr::Probe {

namespace {

std::size_t WidestName(const Layout& layout) {
    std::size_t widest = 0;
    for (const Field& field : layout.fields) {
        widest = std::max(widest, field.name.size());
    }
    return widest;
}

}  // namespace

void WriteTable(std::ostream& out, const Layout& layout) {
    const auto width = static_cast<int>(WidestName(layout));
    for (const Field& field : layout.fields) {
        out << std::hex << std::setw(6) << std::setfill('0') << field.offset << std::dec
            << std::setfill(' ') << "  " << std::left << std::setw(width) << field.name
            << std::right << "  " << field.value;
        if (!field.wrong.empty()) {
            out << (field.value.empty() ? "" : "  ") << "<- " << field.wrong;
        }
        out << '\n';
    }
    const auto wrong = std::count_if(layout.fields.begin(), layout.fields.end(),
                                     [](const Field& field) { return !field.wrong.empty(); });
    out << layout.kind << ": " << layout.fields.size() << " fields, ";
    if (wrong == 0) {
        out << "nothing wrong\n";
    } else {
        out << wrong << " wrong\n";
    }
}

std::string ToJson(const Layout& layout) {
    nlohmann::ordered_json fields = nlohmann::ordered_json::array();
    for (const Field& field : layout.fields) {
        nlohmann::ordered_json one = {{"offset", field.offset},
                                      {"length", field.length},
                                      {"name", field.name},
                                      {"value", field.value}};
        if (!field.wrong.empty()) {
            one["wrong"] = field.wrong;
        }
        fields.push_back(std::move(one));
    }
    const nlohmann::ordered_json all = {
        {"kind", layout.kind}, {"sound", layout.IsSound()}, {"fields", std::move(fields)}};
    return all.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace Kyr::Probe
