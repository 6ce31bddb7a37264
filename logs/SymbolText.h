// The texts of symbol rows: the length limit of string symbols, UUIDs as text.
#pragma once

#include <cstdint>
#include <string>

#include <boost/uuid/uuid.hpp>

namespace Kyr::Common::Logs {

/// `text`, shortened when it is longer than the descriptor of symbol `id` allows. A symbol without
/// a descriptor has no limit.
std::string LimitText(std::int32_t id, std::string text);

/// `text`, which is UTF-8, cut at a character and closed with "..." when it is longer than `limit`
/// bytes. There is no limit unless `limit` is positive as a signed number.
/// Throws std::runtime_error "Invalid utf8 leading byte" and "Utf8 character cannot have more than
/// 6 characters".
std::string ShortenText(std::string text, std::uint32_t limit);

/// 8-4-4-4-12 hexadecimal digits of either case, with or without a pair of braces around them.
/// Anything else throws std::runtime_error "invalid uuid string".
boost::uuids::uuid ParseUuid(const std::string& text);

}  // namespace Kyr::Common::Logs
