// Linked into every test executable: sets the environment the tests rely on before
// main() runs, unless the caller already set it.
#include <cstdlib>

namespace {

struct TestEnvironment {
  TestEnvironment() {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("VELNOR_SIM", VELNOR_SIM_BUILT, 0);
    setenv("VELNOR_BIN", VELNOR_BIN_BUILT, 0);
  }
};

const TestEnvironment environment;

}  // namespace
