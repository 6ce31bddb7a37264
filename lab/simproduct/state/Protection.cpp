#include "lab/simproduct/state/Protection.h"

#include <Poco/NumberFormatter.h>
#include <algorithm>
#include <utility>

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

using Poco::NumberFormatter;

std::string RecordText(const Component& component) {
    const auto attribute = [](const char* name, std::uint64_t number) {
        return std::string(name) + "=\"" + NumberFormatter::formatHex(number, 16) + "\"";
    };
    std::string text = "<RECORD STATUS=\"" + NumberFormatter::formatHex(component.status) + "\"" +
                       attribute(" CATEGORY_RES_ID", component.category) +
                       attribute(" STATUS_RES_ID", component.statusText);
    if (component.description) {
        text += attribute(" DESCRIPTION_RES_ID", *component.description);
    }
    return text + "/>";
}

template <typename Components>
auto FindNamed(Components& components, const std::string& name) {
    return std::find_if(components.begin(), components.end(),
                        [&](const Component& candidate) { return candidate.name == name; });
}

}  // namespace

CProtection::CProtection(const CConfiguration& configuration)
    : configuration_(configuration),
      components_{
          {"files", kProtectionFine, 0x0710000000000301, 0x0710000000000311, std::nullopt},
          {"network", kProtectionFine, 0x0710000000000302, 0x0710000000000312, std::nullopt}} {}

Component CProtection::Named(const std::string& name) const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const auto found = FindNamed(components_, name);
    Component fresh;
    fresh.name = name;
    return found == components_.end() ? fresh : *found;
}

void CProtection::Set(const Component& component) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const auto found = FindNamed(components_, component.name);
    if (found == components_.end()) {
        components_.push_back(component);
    } else {
        *found = component;
    }
}

std::vector<Component> CProtection::Reported() const {
    std::vector<Component> reported;
    {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        reported = components_;
    }
    for (Component& component : reported) {
        if (configuration_.Setting(component.name) == "off") {
            component.status = kProtectionOff;
        }
    }
    return reported;
}

void CProtection::ReportInstead(std::optional<std::string> text) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    instead_ = std::move(text);
}

std::string CProtection::Report() const {
    {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        if (instead_) {
            return *instead_;
        }
    }
    std::string text = R"(<?xml version="1.0" encoding="utf-8"?><TULK><SECTION><STATUS>)";
    for (const Component& component : Reported()) {
        text += RecordText(component);
    }
    return text + "</STATUS></SECTION></TULK>";
}

}  // namespace Kyr::Lab::SimProduct
