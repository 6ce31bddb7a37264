// The contract's port as a pipe, and the object that keeps its name.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include "ntapi/Status.h"
#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::Test {

inline std::wstring ContractName() {
    static char16_t text[] = u"ContractPort";
    const NtApi::UnicodeString name = {sizeof text - 2, sizeof text, text};
    std::wstring port;
    EXPECT_EQ(PortLayer::Detail::PortNameOf(name, port), NtApi::kStatusSuccess);
    return port;
}

inline std::wstring ContractPipe() {
    return PortLayer::Detail::PipeName(ContractName());
}

inline std::wstring ContractClaim() {
    return PortLayer::Detail::PipeClaimName(ContractName());
}

/// The only instance of the pipe, of that type.
inline PortLayer::Detail::CSystemHandle ServeContractPipe(DWORD type) {
    PortLayer::Detail::CSystemHandle pipe = PortLayer::Detail::Own(::CreateNamedPipeW(
        ContractPipe().c_str(), PIPE_ACCESS_DUPLEX, type, 1, 1 << 20, 1 << 20, 0, nullptr));
    EXPECT_TRUE(pipe.IsOpen());
    return pipe;
}

}  // namespace Kyr::Test
