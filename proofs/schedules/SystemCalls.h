// The system's own functions that ThreadCalls.cpp stands before, for who needs a real thread.
//
// Threads: any.
#pragma once

#include <pthread.h>

namespace Kyr::Proofs::Schedules {

int CreateSystemThread(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                       void* argument);
int JoinSystemThread(pthread_t thread, void** result);

}  // namespace Kyr::Proofs::Schedules
