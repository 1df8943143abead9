# Language level, warnings, hardening and sanitizers: the same for every target.
option(OVO_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

# Errors in our own builds alone: a compiler that is newer than we are must not fail a user's.
set(isDebug OFF)
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(isDebug ON)
endif()
option(OVO_WERROR "Take warnings for errors" ${isDebug})
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast
                    -Wnon-virtual-dtor -Woverloaded-virtual $<$<BOOL:${OVO_WERROR}>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A module with unique symbols is never unmapped by dlclose, and its statics not built again.
  add_compile_options(-fno-gnu-unique -Wduplicated-cond -Wlogical-op)
  # When it optimizes, GCC 12 sees overlaps in std::string operator+ that are not there (GCC bug
  # 105651), and takes the second of two counted references for one to a freed object. The
  # sanitizers find the real ones.
  add_compile_options(-Wno-restrict -Wno-use-after-free)
  if(CMAKE_UNITY_BUILD)
    # It takes what a source keeps to itself for a header's, where several are one compilation.
    add_compile_options(-Wno-subobject-linkage)
  endif()
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(-D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  add_link_options(-Wl,-z,relro,-z,now -Wl,-z,defs)
endif()
if(OVO_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
