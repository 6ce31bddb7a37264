// What nearly every test includes, compiled once a suite where compiling is slow. No test includes
// it by name: each names what it uses, and the variants without it prove that.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include <boost/function.hpp>

#include "base/Precompiled.h"
