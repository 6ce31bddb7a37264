// The locale in which the library turns path texts into native ones.
//
// Threads: any. Errors: none leaves; see InstallPathLocale.
#pragma once

namespace Kyr::Connectors::OvAgentConnector {

/// Generates, once in the life of the process, the system's default locale with narrow strings in
/// UTF-8, and installs it as the path locale of boost.filesystem; later calls install the same
/// locale again. Where the system's locale does not exist or is not UTF-8, the neutral UTF-8 locale
/// takes its place, and the classic locale where that fails, too. So it is when memory is short at
/// that moment, for the life of the process.
void InstallPathLocale() noexcept;

}  // namespace Kyr::Connectors::OvAgentConnector
