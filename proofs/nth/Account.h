// The account of a life at its end: what the product was asked to do and has handed out, against
// what the host was told, under the fault that came.
//
// - A task reaches the product or is given up. It is given up once, and only when more than one use
//   has failed in a row: one failure is mended by the second attempt.
// - An outcome is told as often as it was handed out, and all have been asked for; one that was
//   handed out in an exchange that failed is lost.
// - An export is told as done only with what the product had as its configuration.
// - In a life without a stroke all of it happens once, at the first attempt.
// - The reply to a task may go to who has asked for the status before, and then the task fails
//   without a fault: CProduct::Overheard.
//
// Threads: one. Errors: what is wrong is a sentence in the result.
#pragma once

#include <string>
#include <vector>

#include "proofs/nth/Faults.h"
#include "proofs/nth/Product.h"
#include "proofs/nth/Told.h"

namespace Kyr::Proofs::Nth {

/// The third identifiers of a life's tasks, by which product and events name them.
struct LifeTasks {
    std::string outcome;                // of no task of this life: it waits from the beginning
    std::string exported;               // asks for the configuration
    std::string last;                   // the product's to do, given when the fault is over
    std::vector<std::string> ofBefore;  // the product's to do
};

/// fault: its `uses` are 0 when it has not struck.
std::vector<std::string> Judge(const LifeTasks& tasks, const Fault& fault, const CTold& told,
                               const CProduct& product);

}  // namespace Kyr::Proofs::Nth
