# Off macOS the macOS-only sources are compiled too, against the project's own headers and the
# Apple declarations transcribed in src/platform/mac-declarations, as part of the normal build:
# a change to a shared interface that breaks a `_mac` file fails here, before any Mac sees it.
# New files join by their name alone (src/<folder>/<name>_mac.cpp or _mac.mm).
#
# `_mac.cpp` files become an object library built with the project's compiler and flags.
# `_mac.mm` files are Objective-C++: when clang is at hand each is checked whole, @-syntax
# included (clang parses Objective-C on any platform; -fsyntax-only, since nothing here could be
# linked); without clang they are not checked, and configuring says so.

function(corvane_mac_compile_check)
  set(declarations ${PROJECT_SOURCE_DIR}/src/platform/mac-declarations)
  file(GLOB cpp_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*/*_mac.cpp)
  file(GLOB objc_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*/*_mac.mm)

  set(target corvane_mac_compile_check)
  add_library(${target} OBJECT ${cpp_sources})
  # System headers, and first: Apple's <unistd.h> additions wrap the system's own header.
  target_include_directories(${target} SYSTEM BEFORE PRIVATE ${declarations})
  # The project's headers and Qt's, without waiting for any of the libraries to be built.
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE Qt6::Core Qt6::Network Qt6::Widgets)
  set_target_properties(${target} PROPERTIES AUTOMOC OFF)
  corvane_settings(${target})

  if(NOT objc_sources)
    return()
  endif()
  find_program(CORVANE_CLANGXX NAMES clang++ clang++-19 clang++-18 clang++-17 clang++-16
                                     clang++-15 clang++-14)
  if(NOT CORVANE_CLANGXX)
    message(STATUS "No clang++: the macOS Objective-C++ sources are not compile-checked")
    return()
  endif()
  # Qt's folders as system headers, after Apple's and the project's own; /usr/include stays the
  # compiler's last resort, where <unistd.h>'s #include_next expects it.
  set(includes "$<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>")
  set(includes "$<REMOVE_DUPLICATES:$<FILTER:${includes},EXCLUDE,^(/usr/include/?|${PROJECT_SOURCE_DIR}/src.*)$>>")
  set(definitions "$<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>")
  # Objective-C as the oldest macOS the app supports has it (ARC needs a modern runtime).
  set(CMAKE_OSX_DEPLOYMENT_TARGET_CHECKED 13.0)
  set(stamps)
  foreach(source IN LISTS objc_sources)
    file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR}/src ${source})
    string(MAKE_C_IDENTIFIER ${name} stamp_name)
    set(stamp ${CMAKE_CURRENT_BINARY_DIR}/mac-objc-check/${stamp_name}.checked)
    add_custom_command(
      OUTPUT ${stamp}
      COMMAND ${CORVANE_CLANGXX} -std=c++20 -x objective-c++ -fobjc-arc
              -fobjc-runtime=macosx-${CMAKE_OSX_DEPLOYMENT_TARGET_CHECKED} -fsyntax-only -fPIC
              -Wall -Wextra -Wpedantic -Werror -Wno-gnu-zero-variadic-macro-arguments
              -isystem ${declarations} -I ${PROJECT_SOURCE_DIR}/src
              "-isystem$<JOIN:${includes},;-isystem>" "-D$<JOIN:${definitions},;-D>"
              -MD -MF ${stamp}.d ${source}
      COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
      DEPENDS ${source}
      DEPFILE ${stamp}.d
      COMMENT "Compile-checking ${name} as Objective-C++"
      COMMAND_EXPAND_LISTS VERBATIM)
    list(APPEND stamps ${stamp})
  endforeach()
  add_custom_target(corvane_mac_objc_check ALL DEPENDS ${stamps})
  add_dependencies(corvane_mac_objc_check ${target})
endfunction()
