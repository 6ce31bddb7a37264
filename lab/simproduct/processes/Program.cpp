#include "lab/simproduct/processes/Program.h"

#include <Poco/DigestEngine.h>
#include <Poco/SHA1Engine.h>
#include <Poco/SHA2Engine.h>
#include <fstream>
#include <stdexcept>

namespace Kyr::Lab::SimProduct {

Program ReadProgram(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Poco::SHA1Engine sha1;
    Poco::SHA2Engine sha256(Poco::SHA2Engine::SHA_256);
    char block[65536];
    while (file.read(block, sizeof block) || file.gcount() > 0) {
        const auto count = static_cast<std::size_t>(file.gcount());
        sha1.update(block, count);
        sha256.update(block, count);
    }
    if (!file.eof()) {
        throw std::runtime_error("cannot read the program " + path);
    }
    return {path, Poco::DigestEngine::digestToHex(sha1.digest()),
            Poco::DigestEngine::digestToHex(sha256.digest())};
}

}  // namespace Kyr::Lab::SimProduct
