#include "probe/show/Delivery.h"

#include <cstdlib>
#include <iostream>

#include "lab/common/CommandInput.h"
#include "probe/decode/FieldReader.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

bool IsOutputColoured() {
    const char* const forbidden = std::getenv("NO_COLOR");
    return (forbidden == nullptr || *forbidden == '\0') && Lab::OutputIsTerminal();
}

int Deliver(const Report& report, const OutputOptions& output) {
    if (output.json) {
        std::cout << ToJson(report) << '\n';
    } else {
        if (output.raw) {
            UseBinaryOutput();
            std::cout << report.raw;
        } else {
            WriteText(std::cout, report, IsOutputColoured());
        }
        std::cout.flush();
        if (report.problem) {
            std::cerr << "ovprobe: " << HarmlessText(report.problem->text) << '\n';
        }
    }
    if (!std::cout.flush()) {
        std::cerr << "ovprobe: the output was lost\n";
        return report.exit == kFine ? kSomethingFound : report.exit;
    }
    return report.exit;
}

}  // namespace Kyr::Probe
