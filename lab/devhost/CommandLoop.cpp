#include "lab/devhost/CommandLoop.h"

namespace Kyr::Lab::DevHost {

void ObeyCommands(CCommandInput& input, CHost& host, const std::function<void()>& endAtOnce) {
    using Kind = CCommandInput::Kind;
    host.WhenDestroyed([&input] { input.Wake(); });
    bool askedToTerminate = false;
    while (!host.HasEnded()) {
        const CCommandInput::Event event = input.Next();
        switch (event.kind) {
            case Kind::kLine:
                host.Execute(event.line);
                break;
            case Kind::kTerminate:
                if (askedToTerminate) {
                    endAtOnce();
                }
                askedToTerminate = true;
                host.Quit(false);
                break;
            case Kind::kEndOfInput:
                host.Quit(false);
                break;
            case Kind::kWoken:
                break;
        }
    }
}

}  // namespace Kyr::Lab::DevHost
