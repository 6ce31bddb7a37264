// What the tests of the messages share: replies of the product.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/HexBytes.h"
#include "tests/support/ThrownText.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Test {

constexpr char kNotFullEnough[] = "KelcommChannelBuffer: Buffer is not full enough";

/// A successful reply whose payload is `text`.
inline std::vector<unsigned char> TextReply(const std::string& text) {
    return KelcommReply(0, static_cast<std::uint32_t>(text.size()), TextBytes(text));
}

/// The twelve bytes of a reply without payload.
inline std::vector<unsigned char> EmptyReply() {
    return HexBytes("0C 00 00 00  00 00 00 00  00 00 00 00");
}

/// Checks the replies that no response takes: too short for the header, too short for the payload.
template <typename Response>
void ExpectShortRepliesAreRefused() {
    Response response;
    const auto textFor = [&](const std::string& hex) {
        return ThrownText([&] { response.Deserialize(HexBytes(hex)); });
    };
    EXPECT_EQ(textFor(""), kNotFullEnough);
    EXPECT_EQ(textFor("0C 00 00 00  00 00 00 00  00 00 00"), kNotFullEnough);
    EXPECT_EQ(textFor("0C 00 00 00  00 00 00 00  05 00 00 00"), kNotFullEnough);
    EXPECT_EQ(textFor("0C 00 00 00  00 00 00 00  05 00 00 00  61 62 63 64"), kNotFullEnough);
}

/// The bytes of a request whose body is the XML text `text`.
inline std::vector<unsigned char> XmlBytes(const std::string& text) {
    return HexBytes("0C 00 00 00 00 06 00 01 02 00 00 00") + TextBytes(text);
}

}  // namespace Kyr::Test
