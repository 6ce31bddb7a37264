#include "lab/simproduct/state/Protection.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <utility>

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

/// An attribute in hexadecimal, of `digits` digits at least.
void WriteAttribute(std::ostream& text, const char* name, std::uint64_t value, int digits) {
    text << ' ' << name << "=\"" << std::setw(digits) << value << '"';
}

void WriteRecord(std::ostream& text, const Component& component) {
    text << "<RECORD";
    WriteAttribute(text, "STATUS", component.status, 1);
    WriteAttribute(text, "CATEGORY_RES_ID", component.category, 16);
    WriteAttribute(text, "STATUS_RES_ID", component.statusText, 16);
    if (component.description) {
        WriteAttribute(text, "DESCRIPTION_RES_ID", *component.description, 16);
    }
    text << "/>";
}

auto FindNamed(std::vector<Component>& components, const std::string& name) {
    return std::find_if(components.begin(), components.end(),
                        [&](const Component& candidate) { return candidate.name == name; });
}

}  // namespace

CProtection::CProtection(const CConfiguration& configuration)
    : configuration_(configuration),
      components_{
          {"files", kProtectionFine, 0x0710000000000301, 0x0710000000000311, std::nullopt},
          {"network", kProtectionFine, 0x0710000000000302, 0x0710000000000312, std::nullopt}} {}

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
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::hex << std::uppercase << std::setfill('0')
         << "<?xml version=\"1.0\" encoding=\"utf-8\"?><TULK><SECTION><STATUS>";
    for (const Component& component : Reported()) {
        WriteRecord(text, component);
    }
    text << "</STATUS></SECTION></TULK>";
    return text.str();
}

}  // namespace Kyr::Lab::SimProduct
