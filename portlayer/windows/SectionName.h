// The name of the section behind the number that a packet tells.
#pragma once

#include <cstdint>
#include <string>

namespace Kyr::PortLayer::Detail {

std::wstring SectionName(std::uint64_t name);

}  // namespace Kyr::PortLayer::Detail
