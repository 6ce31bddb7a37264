#include "lab/runner/HexText.h"

namespace Kyr::Lab::Runner {

std::string FromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < hex.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

}  // namespace Kyr::Lab::Runner
