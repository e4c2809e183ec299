# The packaged glslang validator: built once per machine from the Debian
# source package into a cache prefix (tools/build-glslang.sh), then copied to
# bin/external/glslang. The prefix also holds glslang's static libraries and
# CMake package for code that links the front end in-process.

# The one place that fixes the packaged version and what it reports for -v.
set(SHADEX_GLSLANG_DEB_VERSION "15.1.0+1.4.309.0-1")
set(SHADEX_GLSLANG_BANNER "Glslang Version: 11:15.2.0")

if(NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
  set(_shadex_cache_root "$ENV{XDG_CACHE_HOME}")
else()
  set(_shadex_cache_root "$ENV{HOME}/.cache")
endif()
# Our fixes to the validator's source; their content is part of the cache
# key, so a changed patch set never reuses an older build.
file(GLOB _shadex_glslang_patches "${PROJECT_SOURCE_DIR}/tools/glslang-patches/*.patch")
list(SORT _shadex_glslang_patches)
set(_shadex_patch_digest "")
foreach(_patch IN LISTS _shadex_glslang_patches)
  file(SHA256 "${_patch}" _digest)
  string(APPEND _shadex_patch_digest "${_digest}")
endforeach()
string(SHA256 _shadex_patch_digest "${_shadex_patch_digest}")
string(SUBSTRING "${_shadex_patch_digest}" 0 8 _shadex_patch_digest)

set(_shadex_default_prefix "${_shadex_cache_root}/shadex/glslang-${SHADEX_GLSLANG_DEB_VERSION}-${_shadex_patch_digest}")
set(SHADEX_GLSLANG_PREFIX "${_shadex_default_prefix}"
    CACHE PATH "Install prefix of the packaged glslang build (validator, static libraries, CMake package)")
# A build directory configured before the patches changed still holds the old
# default prefix: follow the new one, but keep a prefix the user chose.
if(SHADEX_GLSLANG_PREFIX MATCHES "^${_shadex_cache_root}/shadex/glslang-" AND
   NOT SHADEX_GLSLANG_PREFIX STREQUAL _shadex_default_prefix)
  set(SHADEX_GLSLANG_PREFIX "${_shadex_default_prefix}" CACHE PATH
      "Install prefix of the packaged glslang build (validator, static libraries, CMake package)" FORCE)
  unset(glslang_DIR CACHE)
endif()

set(SHADEX_GLSLANG_VALIDATOR "${SHADEX_GLSLANG_PREFIX}/bin/glslang")

function(_shadex_glslang_reported_banner out_var)
  execute_process(COMMAND "${SHADEX_GLSLANG_VALIDATOR}" -v
                  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_QUIET)
  if(NOT status EQUAL 0)
    set(output "")
  endif()
  set(${out_var} "${output}" PARENT_SCOPE)
endfunction()

if(NOT EXISTS "${SHADEX_GLSLANG_VALIDATOR}"
   OR NOT EXISTS "${SHADEX_GLSLANG_PREFIX}/lib/cmake/glslang/glslang-config.cmake")
  message(STATUS "Building glslang ${SHADEX_GLSLANG_DEB_VERSION} into ${SHADEX_GLSLANG_PREFIX} "
                 "(once per machine; takes a few minutes)")
  execute_process(
    COMMAND bash "${PROJECT_SOURCE_DIR}/tools/build-glslang.sh"
            --version "${SHADEX_GLSLANG_DEB_VERSION}"
            --banner "${SHADEX_GLSLANG_BANNER}"
            --prefix "${SHADEX_GLSLANG_PREFIX}"
            --patches "${PROJECT_SOURCE_DIR}/tools/glslang-patches"
    RESULT_VARIABLE _shadex_glslang_status)
  if(NOT _shadex_glslang_status EQUAL 0)
    message(FATAL_ERROR
      "Could not build the packaged glslang validator (see the build-glslang messages above).\n"
      "Install the build tools with `make deps` (dpkg-dev, python3, cmake, ninja-build, g++), "
      "check the network, and configure again; or set SHADEX_GLSLANG_PREFIX to an existing "
      "install of glslang ${SHADEX_GLSLANG_DEB_VERSION}.")
  endif()
endif()

_shadex_glslang_reported_banner(_shadex_glslang_reported)
string(FIND "${_shadex_glslang_reported}" "${SHADEX_GLSLANG_BANNER}" _shadex_banner_at)
if(NOT _shadex_banner_at EQUAL 0)
  message(FATAL_ERROR
    "${SHADEX_GLSLANG_VALIDATOR} does not report \"${SHADEX_GLSLANG_BANNER}\".\n"
    "Delete ${SHADEX_GLSLANG_PREFIX} to have it rebuilt, or set SHADEX_GLSLANG_PREFIX to an "
    "install of glslang ${SHADEX_GLSLANG_DEB_VERSION}.")
endif()

# The input layer checks the validator it runs against the same banner, and
# reads SPIR-V by the official header's names.
target_include_directories(shadex_input SYSTEM PRIVATE "${SHADEX_GLSLANG_PREFIX}/include")
target_compile_definitions(shadex_input PRIVATE
  SHADEX_GLSLANG_BANNER="${SHADEX_GLSLANG_BANNER}")

# The library the validator is made of: the reference back-end compiles
# OpenGL ES with it, and shadex-suite converts Vulkan GLSL as the validator does.
find_package(glslang CONFIG REQUIRED PATHS ${SHADEX_GLSLANG_PREFIX} NO_DEFAULT_PATH GLOBAL)
target_link_libraries(shadex_suite PUBLIC glslang::glslang glslang::SPIRV glslang::glslang-default-resource-limits)
# glslang is built without run-time type information, which the sanitizer's
# virtual-pointer check needs in code that uses its classes.
if(SHADEX_SANITIZE OR SHADEX_LIBFUZZER)
  target_compile_options(shadex_suite PRIVATE -fno-sanitize=vptr)
endif()

set(_shadex_glslang_copy "${SHADEX_BIN_DIR}/external/glslang")
add_custom_command(
  OUTPUT "${_shadex_glslang_copy}"
  COMMAND ${CMAKE_COMMAND} -E make_directory "${SHADEX_BIN_DIR}/external"
  COMMAND ${CMAKE_COMMAND} -E copy "${SHADEX_GLSLANG_VALIDATOR}" "${_shadex_glslang_copy}"
  DEPENDS "${SHADEX_GLSLANG_VALIDATOR}"
  COMMENT "Copying the packaged glslang validator to bin/external"
  VERBATIM)
add_custom_target(shadex_glslang ALL DEPENDS "${_shadex_glslang_copy}")
