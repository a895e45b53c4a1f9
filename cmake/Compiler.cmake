# Refuses a compiler, a standard library or a target that can't build the program.

foreach(minimum "GNU;g++;12" "Clang;clang;14")
  list(GET minimum 0 id)
  list(GET minimum 1 name)
  list(GET minimum 2 version)
  if(CMAKE_CXX_COMPILER_ID STREQUAL id AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS version)
    message(FATAL_ERROR "skeinKeep needs ${name} ${version} or later; this is ${CMAKE_CXX_COMPILER_VERSION}.")
  endif()
endforeach()

if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  message(FATAL_ERROR "skeinKeep needs a 64-bit target.")
endif()

include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_FLAGS -std=c++20)
check_cxx_source_compiles("
  #include <version>
  #if !defined(__cpp_lib_ranges) || !defined(__cpp_lib_to_chars)
  #error
  #endif
  int main() {}" SKEINKEEP_LIBRARY_SUFFICES)
unset(CMAKE_REQUIRED_FLAGS)
if(NOT SKEINKEEP_LIBRARY_SUFFICES)
  message(FATAL_ERROR
    "skeinKeep needs a standard library with std::ranges and std::to_chars of C++20, such as libstdc++ 12.")
endif()
