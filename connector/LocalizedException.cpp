#include "connector/LocalizedException.h"

namespace Kyr::Common::Module {

CExceptionHolder::~CExceptionHolder() = default;
CInterModuleException::~CInterModuleException() = default;

CLocalizedException::CLocalizedException(const std::string& text, std::uint32_t codeLow,
                                         std::uint32_t codeHigh)
    : CInterModuleExceptionImpl(text), codeLow_(codeLow), codeHigh_(codeHigh) {}
CLocalizedException::~CLocalizedException() = default;

}  // namespace Kyr::Common::Module
