// The names that clients look for (protocol); the ids of client and server stand in them.
//
// Threads, errors: constants.
#pragma once

namespace Kyr::Lab::SimProduct {

constexpr char16_t kLpcPortName[] = u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort";
constexpr char16_t kAlpcPortName[] = u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPortAlpc";

}  // namespace Kyr::Lab::SimProduct
