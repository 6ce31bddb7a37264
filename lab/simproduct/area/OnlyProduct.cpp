#include "lab/simproduct/area/OnlyProduct.h"

#include <cstring>
#include <stdexcept>

#include "portlayer/Diagnostics.h"

namespace Kyr::Lab::SimProduct {

COnlyProduct::COnlyProduct(std::uint64_t pid) {
    claim_.Open(u"Global\\SimulatedProductMutex", u"Global\\SimulatedProduct", sizeof pid,
                "the only product");
    if (!claim_.Take(0)) {
        std::memcpy(&pid, claim_.Bytes(), sizeof pid);
        throw std::runtime_error("another product serves in " + PortLayer::PlaceOfNames() +
                                 ": process " + std::to_string(pid));
    }
    std::memcpy(claim_.Bytes(), &pid, sizeof pid);
}

}  // namespace Kyr::Lab::SimProduct
