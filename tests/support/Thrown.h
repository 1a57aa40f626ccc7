#pragma once
#include <gtest/gtest.h>

#include "core/VError.h"

namespace velnor::testing {

// Runs op, which must throw a VError, and returns that error.
template <typename F>
VError Thrown(F op) {
  try {
    op();
  } catch (const VError& e) {
    return e;
  }
  ADD_FAILURE() << "no VError";
  return VError(0, "", "");
}

}  // namespace velnor::testing
