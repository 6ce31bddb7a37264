#include "kelcomm/messages/XmlNesting.h"

#include <cstring>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

/// Walks over the text exactly as the parser (Boost.PropertyTree's, with default flags) does,
/// character class by character class: where the two read differently, text could be made that
/// nests unseen.
///
/// What follows a "<", and where the parser goes on:
///   /                  an end tag: one element fewer is open; its name, which may hold "<", is
///                      not compared; blanks and ">" come behind it
///   ?                  a declaration or an instruction: behind the next "?>"
///   !--                a comment: behind "-->"
///   ![CDATA[           character data: behind "]]>"
///   !DOCTYPE, a blank  behind the ">" that is outside of brackets
///   !, anything else   behind the next ">"
///   anything else      a start tag: name, attributes, ">" or "/>"
/// Between these only "<" matters: text has none. A zero byte ends the text for the parser, and so
/// it does here.
///
/// Where the parser gives up the walk stops, or goes on and counts what nobody will read: either
/// way the text is refused.
class CScanner {
  public:
    CScanner(const char* text, const XmlLimits& limits) : at_(text), limits_(limits) {}

    XmlExcess Scan() {
        int depth = 0;
        while (SkipTo("<")) {
            // Too many end tags bring the depth below zero: the parser has given up at the first of
            // them.
            if (Take("/")) {
                if (!SkipEndTag()) {
                    return XmlExcess::kNone;
                }
                --depth;
                continue;
            }
            if (!(*at_ == '?' || *at_ == '!')) {
                bool open = false;
                if (!SkipStartTag(open)) {
                    return XmlExcess::kNone;
                }
                depth += open ? 1 : 0;
                // At once: what comes behind cannot take it back.
                if (depth > limits_.depth) {
                    return XmlExcess::kDepth;
                }
            } else if (!SkipMarkup()) {
                return XmlExcess::kNone;
            }
            if (elements_ > limits_.elements) {
                return XmlExcess::kElements;
            }
            if (nodes_ > limits_.nodes) {
                return XmlExcess::kNodes;
            }
        }
        return XmlExcess::kNone;
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
            ++nodes_;
            return SkipTo("-->");
        }
        if (Take("![CDATA[")) {
            return SkipTo("]]>");
        }
        // To the parser the blank is part of it. At the end of the text, whose zero strchr finds,
        // both give up.
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

    /// A name of an element and the blanks behind it. The parser's class: it ends before these.
    void SkipElementName() {
        at_ += std::strcspn(at_, " \n\r\t/>?");
        SkipBlanks();
    }

    /// False: malformed.
    bool SkipEndTag() {
        SkipElementName();
        return Take(">");
    }

    /// `open`: the element is not closed by its own tag. False: malformed.
    bool SkipStartTag(bool& open) {
        SkipElementName();
        ++elements_;
        ++nodes_;
        const std::size_t nodesBefore = nodes_;
        // A name of an attribute ends before these.
        while (const std::size_t name = std::strcspn(at_, " \n\r\t/<>=?!")) {
            // Attributes have a node of their own around them.
            nodes_ += nodes_ == nodesBefore ? 2 : 1;
            at_ += name;
            SkipBlanks();
            if (!Take("=")) {
                return false;
            }
            SkipBlanks();
            // Values end with the quote that they begin with, and may hold "<" and ">" meanwhile.
            if (!(Take("\"") ? SkipTo("\"") : Take("'") && SkipTo("'"))) {
                return false;
            }
            SkipBlanks();
        }
        // Its contents come next, one element deeper; "/>" has none.
        open = Take(">");
        return open || Take("/>");
    }

    const char* at_;
    const XmlLimits limits_;
    std::size_t elements_ = 0;
    std::size_t nodes_ = 0;
};

}  // namespace

XmlExcess FindExcess(const std::string& text, const XmlLimits& limits) {
    return CScanner(text.c_str(), limits).Scan();
}

bool NestsDeeperThan(const std::string& text, int limit) {
    XmlLimits limits;
    limits.depth = limit;
    return FindExcess(text, limits) == XmlExcess::kDepth;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
