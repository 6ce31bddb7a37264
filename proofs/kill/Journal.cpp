#include "proofs/kill/Journal.h"

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace Kyr::Proofs::Kill {

namespace {

constexpr char kEnd[] = " .";
constexpr std::size_t kEndSize = 2;

}  // namespace

CJournal::CJournal(const std::string& path)
    : file_(::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0600)) {
    if (file_ < 0) {
        throw std::runtime_error("cannot open the journal " + path);
    }
}

CJournal::~CJournal() {
    ::close(file_);
}

void CJournal::Append(const Lab::CLine& line) const {
    const std::string text = '\n' + line.Text() + kEnd + '\n';
    if (::write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("cannot write the journal");
    }
}

std::vector<Lab::CLine> CJournal::ReadNew() {
    std::vector<Lab::CLine> lines;
    char bytes[0x10000];
    ssize_t size = 0;
    while ((size = ::pread(file_, bytes, sizeof bytes, position_)) > 0) {
        position_ += size;
        unread_.append(bytes, static_cast<std::size_t>(size));
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = unread_.find('\n', begin)) != std::string::npos;
             begin = end + 1) {
            const std::size_t length = end - begin;
            if (length > kEndSize && unread_.compare(end - kEndSize, kEndSize, kEnd) == 0) {
                lines.push_back(
                    Lab::ParseLine("00:00:00.000 " + unread_.substr(begin, length - kEndSize))
                        .line);
            }
        }
        unread_.erase(0, begin);
    }
    return lines;
}

}  // namespace Kyr::Proofs::Kill
