#include "lab/devhost/CommandLoop.h"

namespace Kyr::Lab::DevHost {

void ObeyCommands(CCommandInput& input, CHost& host, const std::function<void()>& endAtOnce) {
    using Kind = CCommandInput::Kind;
    host.WhenDestroyed([&input] { input.Wake(); });
    bool askedToTerminate = false;
    while (!host.HasEnded()) {
        const CCommandInput::CEvent event = input.Next();
        switch (event.kind) {
            case Kind::Line:
                host.Execute(event.line);
                break;
            case Kind::Terminate:
                if (askedToTerminate) {
                    endAtOnce();
                }
                askedToTerminate = true;
                host.Quit(false);
                break;
            case Kind::EndOfInput:
                host.Quit(false);
                break;
            case Kind::Woken:
                break;
        }
    }
}

}  // namespace Kyr::Lab::DevHost
