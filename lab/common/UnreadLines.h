// Cuts what has been read of a program's input into lines.
//
// A line ends with "\n" or "\r\n"; the last one of the input may lack its end.
//
// Threads: one at a time. Errors: none.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Kyr::Lab {

class CUnreadLines {
  public:
    void Append(const char* bytes, std::size_t count) { unread_.append(bytes, count); }

    /// Nothing will be appended any more: what is left is a line.
    void End() {
        ended_ = true;
        if (!unread_.empty() && unread_.back() != '\n') {
            unread_ += '\n';
        }
    }
    bool HasEnded() const { return ended_; }

    /// The first line, without its end; nothing when it is not whole yet.
    std::optional<std::string> Take() {
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

  private:
    std::string unread_;
    bool ended_ = false;
};

}  // namespace Kyr::Lab
