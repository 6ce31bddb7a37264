#include "lab/common/UnreadLines.h"

namespace Kyr::Lab {

void CUnreadLines::Append(const char* bytes, std::size_t count) {
    unread_.append(bytes, count);
}

void CUnreadLines::End() {
    ended_ = true;
    if (!unread_.empty() && unread_.back() != '\n') {
        unread_ += '\n';
    }
}

std::optional<std::string> CUnreadLines::Take() {
    const std::size_t end = unread_.find('\n');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

}  // namespace Kyr::Lab
