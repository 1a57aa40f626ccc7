# Each subsystem folder builds one plain-C++ static library from its top-level *.cpp
# (no Qt may be included there) and, when it has windows, one Qt library from qt/*.cpp.
# Globbing keeps the folders independent: adding a file needs no edit elsewhere.

# Fuzz builds: every sanitizer report aborts the run, so a finding fails the target
# instead of scrolling past in its output while the run carries on to a pass.
set(VELNOR_FUZZ_SANITIZE_NO_LINK -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
set(VELNOR_FUZZ_SANITIZE -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all)

function(velnor_library name)
  cmake_parse_arguments(A "" "" "DEPS" ${ARGN})
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(srcs)
    add_library(${name} STATIC ${srcs})
    target_link_libraries(${name} PUBLIC ${A_DEPS})
    target_compile_options(${name} PRIVATE ${VELNOR_CORE_WARNINGS})
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${A_DEPS})
  endif()
  if(VELNOR_FUZZ_ENGINE STREQUAL "libfuzzer")
    # An instrumented twin for the fuzz targets, so libFuzzer sees coverage inside the
    # parsers and the sanitizers watch them.
    set(fz_deps "")
    foreach(d ${A_DEPS})
      list(APPEND fz_deps ${d}_fz)
    endforeach()
    if(srcs)
      add_library(${name}_fz STATIC EXCLUDE_FROM_ALL ${srcs})
      target_link_libraries(${name}_fz PUBLIC ${fz_deps})
      target_compile_options(${name}_fz PRIVATE ${VELNOR_FUZZ_SANITIZE_NO_LINK})
    else()
      add_library(${name}_fz INTERFACE)
      target_link_libraries(${name}_fz INTERFACE ${fz_deps})
    endif()
  endif()
endfunction()

function(velnor_qt_library name)
  cmake_parse_arguments(A "" "" "DEPS" ${ARGN})
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/qt/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/qt/*.h)
  if(srcs)
    add_library(${name} STATIC ${srcs})
    target_link_libraries(${name} PUBLIC ${A_DEPS} Qt6::Widgets Qt6::Network Qt6::PrintSupport Qt6::Multimedia)
    target_compile_options(${name} PRIVATE ${VELNOR_WARNINGS})
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${A_DEPS})
  endif()
endfunction()

# Seconds any one test may run; the slowest take well under a minute.
set(VELNOR_TEST_TIMEOUT 120)

# A GoogleTest executable registered with CTest. Tests run headless.
function(velnor_test name)
  cmake_parse_arguments(A "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${A_SOURCES})
  target_link_libraries(${name} PRIVATE ${A_LIBS} GTest::gtest GTest::gtest_main GTest::gmock)
  target_compile_options(${name} PRIVATE ${VELNOR_WARNINGS})
  # The environment every test expects (headless windows, where the simulator and the
  # program are) is set by a static initialiser linked into each test, not through CTest
  # properties: that way a test binary run by hand behaves exactly as under CTest.
  target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/TestEnvironment.cpp)
  # Its connect() must stand in for the C library's in every library of the process.
  target_link_options(${name} PRIVATE -Wl,--export-dynamic-symbol=connect)
  target_compile_definitions(${name} PRIVATE
    VELNOR_SIM_BUILT="${CMAKE_BINARY_DIR}/velnor/pmdirect-sim"
    VELNOR_BIN_BUILT="${CMAKE_BINARY_DIR}/velnor/velnor")
  if(TARGET pmdirect-sim)
    add_dependencies(${name} pmdirect-sim)
  endif()
  # A test that hangs fails on its own instead of holding the run for ctest's default.
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${VELNOR_TEST_TIMEOUT})
endfunction()

# Every subfolder of the current folder that has a CMakeLists.txt.
function(velnor_add_subfolders)
  file(GLOB children LIST_DIRECTORIES true ${CMAKE_CURRENT_SOURCE_DIR}/*)
  foreach(child ${children})
    if(IS_DIRECTORY ${child} AND EXISTS ${child}/CMakeLists.txt)
      add_subdirectory(${child})
    endif()
  endforeach()
endfunction()

# A fuzz target for a parser of untrusted text: <name>.cpp defines LLVMFuzzerTestOneInput.
# Built with libFuzzer under clang; under another compiler with a small driver that feeds
# the seeds and a fixed number of mutations of them. Either way CTest runs a short pass.
function(velnor_fuzz name)
  cmake_parse_arguments(A "" "" "SOURCES;LIBS;SEEDS" ${ARGN})
  add_executable(${name} ${A_SOURCES})
  set(seed_dir ${CMAKE_CURRENT_BINARY_DIR}/${name}_seeds)
  file(MAKE_DIRECTORY ${seed_dir})
  foreach(seed ${A_SEEDS})
    file(COPY ${seed} DESTINATION ${seed_dir})
  endforeach()
  if(VELNOR_FUZZ_ENGINE STREQUAL "libfuzzer")
    foreach(l ${A_LIBS})
      target_link_libraries(${name} PRIVATE ${l}_fz)
    endforeach()
    target_compile_options(${name} PRIVATE ${VELNOR_FUZZ_SANITIZE})
    target_link_options(${name} PRIVATE ${VELNOR_FUZZ_SANITIZE})
    set(work ${CMAKE_CURRENT_BINARY_DIR}/${name}_corpus)
    file(MAKE_DIRECTORY ${work})
    add_test(NAME ${name} COMMAND ${name} -runs=30000 -max_total_time=20 -max_len=65536 ${work} ${seed_dir})
  else()
    target_link_libraries(${name} PRIVATE ${A_LIBS})
    target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/StandaloneFuzzMain.cpp)
    add_test(NAME ${name} COMMAND ${name} ${seed_dir})
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${VELNOR_TEST_TIMEOUT})
endfunction()
