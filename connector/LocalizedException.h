// A failure whose text is meant for the user. Thrown by a task, it ends the message: the core
// reports it as failed with this text and this code.
//
// Threads: a value; thrown and caught on the task thread.
#pragma once

#include <cstdint>
#include <string>

#include "connector/InterModuleException.h"

namespace Kyr::Common::Module {

class CLocalizedException : public CInterModuleExceptionImpl<CLocalizedException> {
  public:
    /// The code of the task event is `codeLow` + `codeHigh` * 2^32.
    CLocalizedException(const std::string& text, std::uint32_t codeLow, std::uint32_t codeHigh);
    CLocalizedException(const CLocalizedException&) = default;
    ~CLocalizedException() override;

    std::uint32_t GetCodeLow() const { return codeLow_; }
    std::uint32_t GetCodeHigh() const { return codeHigh_; }

  private:
    std::uint32_t codeLow_;
    std::uint32_t codeHigh_;
};

}  // namespace Kyr::Common::Module
