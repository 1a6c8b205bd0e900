# Common settings for every target of the project: warnings are errors, Qt's stricter modes,
# and the sanitizers when asked for.

set(CORVANE_DEFINITIONS QT_NO_CONTEXTLESS_CONNECT QT_NO_FOREACH QT_NO_CAST_FROM_ASCII
                        QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
set(CORVANE_WARNINGS -Wall -Wextra -Wpedantic -Werror -Wnon-virtual-dtor
                     -Wno-gnu-zero-variadic-macro-arguments)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(REMOVE_ITEM CORVANE_WARNINGS -Wno-gnu-zero-variadic-macro-arguments)
endif()

if(CORVANE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(CORVANE_TSAN)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

function(corvane_settings target)
  target_compile_definitions(${target} PRIVATE ${CORVANE_DEFINITIONS})
  target_compile_options(${target} PRIVATE ${CORVANE_WARNINGS})
endfunction()

# One static library per source folder. Files ending in _mac.* build only on macOS and files
# ending in _linux.* only elsewhere, so each platform service keeps one interface.
function(corvane_library name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;EXCLUDE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h
       ${CMAKE_CURRENT_SOURCE_DIR}/*.mm)
  if(APPLE)
    list(FILTER sources EXCLUDE REGEX "_linux\\.(cpp|h)$")
  else()
    list(FILTER sources EXCLUDE REGEX "_mac\\.(cpp|h|mm)$")
  endif()
  foreach(excluded IN LISTS ARG_EXCLUDE)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${excluded})
  endforeach()
  if(APPLE)
    # Objective-C++ files build with the C++ compiler and the project's flags, as Objective-C++
    # with ARC, the same way the Linux check reads them.
    set(objc_sources ${sources})
    list(FILTER objc_sources INCLUDE REGEX "\\.mm$")
    set_source_files_properties(${objc_sources} PROPERTIES LANGUAGE CXX
                                COMPILE_OPTIONS "-xobjective-c++;-fobjc-arc")
  endif()
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
  corvane_settings(${name})
endfunction()
