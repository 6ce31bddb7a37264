#include "kelcomm/messages/XmlNesting.h"

#include <cstring>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

/// Walks over the text exactly as the parser does, character class by character class: where the
/// two read differently, text could be made that nests unseen.
class CScanner {
  public:
    explicit CScanner(const char* text) : at_(text) {}

    bool NestsDeeperThan(int limit) {
        int depth = 0;
        while (SkipTo("<")) {
            if (Take("/")) {
                --depth;
                continue;
            }
            if (!(*at_ == '?' || *at_ == '!')) {
                bool open = false;
                if (!SkipStartTag(open)) {
                    return false;
                }
                depth += open ? 1 : 0;
                if (depth > limit) {
                    return true;
                }
            } else if (!SkipMarkup()) {
                return false;
            }
        }
        return false;
    }

  private:
    /// Moves behind the next `end`; false when there is none.
    bool SkipTo(const char* end) {
        const char* const found = std::strstr(at_, end);
        if (found == nullptr) {
            return false;
        }
        at_ = found + std::strlen(end);
        return true;
    }

    bool Take(const char* expected) {
        const std::size_t length = std::strlen(expected);
        if (std::strncmp(at_, expected, length) != 0) {
            return false;
        }
        at_ += length;
        return true;
    }

    void SkipBlanks() { at_ += std::strspn(at_, " \n\r\t"); }

    /// Comments, character data, declarations and instructions.
    bool SkipMarkup() {
        if (Take("?")) {
            return SkipTo("?>");
        }
        if (Take("!--")) {
            return SkipTo("-->");
        }
        if (Take("![CDATA[")) {
            return SkipTo("]]>");
        }
        if (Take("!DOCTYPE") && std::strchr(" \n\r\t", *at_) != nullptr) {
            return SkipDocumentType();
        }
        return SkipTo(">");
    }

    /// The part in brackets may hold anything, brackets in pairs.
    bool SkipDocumentType() {
        int brackets = 0;
        for (; *at_ != '\0'; ++at_) {
            brackets += *at_ == '[' ? 1 : *at_ == ']' && brackets > 0 ? -1 : 0;
            if (*at_ == '>' && brackets == 0) {
                ++at_;
                return true;
            }
        }
        return false;
    }

    /// `open`: the element is not closed by its own tag. False: malformed.
    bool SkipStartTag(bool& open) {
        at_ += std::strcspn(at_, " \n\r\t/>?");
        SkipBlanks();
        while (const std::size_t name = std::strcspn(at_, " \n\r\t/<>=?!")) {
            at_ += name;
            SkipBlanks();
            if (!Take("=")) {
                return false;
            }
            SkipBlanks();
            if (!(Take("\"") ? SkipTo("\"") : Take("'") && SkipTo("'"))) {
                return false;
            }
            SkipBlanks();
        }
        open = Take(">");
        return open || Take("/>");
    }

    const char* at_;
};

}  // namespace

bool NestsDeeperThan(const std::string& text, int limit) {
    return CScanner(text.c_str()).NestsDeeperThan(limit);
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
