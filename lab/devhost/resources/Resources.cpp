#include "lab/devhost/resources/Resources.h"

namespace Kyr::Lab::DevHost {

void CHostLog::Log(const std::string& text, int level, const std::string& source) {
    failures_.Meet(Failure::kLog, text);
    const CLine line =
        CLine("log").With("level", std::to_string(level)).With("source", source).With("text", text);
    for (const LineSink& sink : sinks_) {
        sink(line);
    }
}

void CResourceProvider::Add(int number, boost::shared_ptr<Common::Kernel::IResource> resource) {
    resources_[number] = std::move(resource);
}

boost::shared_ptr<Common::Kernel::IResource> CResourceProvider::GetResource(int number) {
    const auto found = resources_.find(number);
    const bool given = found != resources_.end();
    events_(CLine("resource")
                .With("number", std::to_string(number))
                .With("given", given ? "yes" : "no"));
    return given ? found->second : nullptr;
}

}  // namespace Kyr::Lab::DevHost
