# The readers' fuzz targets need libFuzzer, which only clang provides. Every library is built
# with the fuzzer's coverage instrumentation and the sanitizers, so a fuzz build lives in its own
# folder (`make fuzz` uses build-fuzz).
if(CORVANE_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "CORVANE_FUZZ needs clang (libFuzzer); configure a separate build folder "
                        "with -DCMAKE_CXX_COMPILER=clang++ (found ${CMAKE_CXX_COMPILER_ID}).")
  endif()
  if(CORVANE_SANITIZE OR CORVANE_TSAN)
    message(FATAL_ERROR "CORVANE_FUZZ brings its own sanitizers; leave CORVANE_SANITIZE and CORVANE_TSAN off.")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # Instrumented builds are slow; each library compiles as one unit, so that Qt's headers are
  # read once per library. Files whose file-local names clash with a neighbour's compile alone
  # (see fuzz/CMakeLists.txt).
  set(CMAKE_UNITY_BUILD ON)
  set(CMAKE_UNITY_BUILD_BATCH_SIZE 0)
endif()
