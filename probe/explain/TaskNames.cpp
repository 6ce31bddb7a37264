#include "probe/explain/TaskNames.h"

#include <algorithm>

#include "probe/TaskIdentifiers.h"

namespace Kyr::Probe {

namespace {

struct TaskName {
    const char* message;
    const char* command;
    const char* what;
};

constexpr TaskName kTasks[] = {
    {"KillProcessByPid", "kill", "kill a process"},
    {"BlockExecutableByHash", "block", "block an executable"},
    {"RequestConfiguration", "export", "export the configuration"},
};

constexpr char kNoUuid[] = "(no UUID)";

std::string SafeIdentifier(std::string_view text) {
    if (!IsUuid(text)) {
        return kNoUuid;
    }
    std::string safe(text);
    for (char& sign : safe) {
        sign = sign >= 'A' && sign <= 'F' ? static_cast<char>(sign - 'A' + 'a') : sign;
    }
    return safe;
}

}  // namespace

std::string TaskOfMessage(std::string_view name) {
    for (const TaskName& task : kTasks) {
        if (name == task.message) {
            return task.what;
        }
    }
    return "";
}

std::string TaskOfCommand(std::string_view command) {
    for (const TaskName& task : kTasks) {
        if (command == task.command) {
            return task.what;
        }
    }
    return "";
}

std::string_view UserDataInRequest(std::string_view xml) {
    constexpr std::string_view kName = "NAME=\"USERDATA\"";
    constexpr std::string_view kValue = "VALUE=\"";
    const std::size_t name = xml.find(kName);
    const std::size_t value =
        name == std::string_view::npos ? name : xml.find(kValue, name + kName.size());
    if (value == std::string_view::npos) {
        return {};
    }
    const std::size_t begin = value + kValue.size();
    return xml.substr(begin, xml.find('"', begin) - begin);
}

std::vector<std::string> IdentifiersInRequest(std::string_view xml) {
    return SplitIdentifiers(UserDataInRequest(xml), ';');
}

bool AreUuids(const std::vector<std::string>& identifiers) {
    return identifiers.size() == kIdentifiersOfTask &&
           std::none_of(identifiers.begin(), identifiers.end(),
                        [](const std::string& identifier) { return identifier == kNoUuid; });
}

std::vector<std::string> SplitIdentifiers(std::string_view text, char separator) {
    std::vector<std::string> identifiers;
    for (std::size_t begin = 0; identifiers.size() < kIdentifiersOfTask;) {
        const std::size_t end = text.find(separator, begin);
        identifiers.push_back(SafeIdentifier(text.substr(begin, end - begin)));
        if (end == std::string_view::npos) {
            break;
        }
        begin = end + 1;
    }
    return identifiers;
}

}  // namespace Kyr::Probe
