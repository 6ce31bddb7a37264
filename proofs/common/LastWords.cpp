#include "proofs/common/LastWords.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <unistd.h>

namespace Kyr::Proofs {

namespace {

const char* proof = "";
char lastWords[300];

}  // namespace

void LeaveLastWords(const char* name) {
    proof = name;
    Foresee("the beginning");
    std::set_terminate(Die);
    for (const int number : {SIGSEGV, SIGBUS, SIGABRT}) {
        std::signal(number, [](int) { Die(); });
    }
}

void Foresee(const std::string& what) {
    std::snprintf(lastWords, sizeof lastWords, "problem: %.200s\nproof %s: FAIL\n", what.c_str(),
                  proof);
}

// Without a lock or an allocation: either may be what has failed.
void Die() {
    (void)!::write(STDOUT_FILENO, lastWords, std::char_traits<char>::length(lastWords));
    std::_Exit(1);
}

}  // namespace Kyr::Proofs
