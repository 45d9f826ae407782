# What every target of the project has in common, and how sources are collected.

# stddi_sources(<out> <suffix> <dir>...)
# All files with the suffix below the directories, however deep. New files are noticed at the
# next build; a directory that does not exist yet counts as empty.
function(stddi_sources out suffix)
  list(TRANSFORM ARGN APPEND "/*${suffix}" OUTPUT_VARIABLE patterns)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS ${patterns})
  set(${out} ${files} PARENT_SCOPE)
endfunction()

# stddi_defaults(<target>)
# Language level, warnings and sanitizers. Sanitizer flags are public because
# whatever links an instrumented library has to link the sanitizer's runtime too.
function(stddi_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # clang counts -Wsign-conversion as part of -Wconversion and g++ does not: say it, so that both
  # compilers (and clang-tidy, which reads the commands of a g++ build) hold us to the same rules.
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion
                                           -Wno-sign-conversion)
  if(STDDI_SANITIZE)
    target_compile_options(${target} PRIVATE -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(${target} PUBLIC $<BUILD_INTERFACE:-fsanitize=${STDDI_SANITIZE}>)
    target_link_options(${target} PUBLIC $<BUILD_INTERFACE:-fsanitize=${STDDI_SANITIZE}>)
  endif()
endfunction()

# stddi_skip(<target> <reason>)
function(stddi_skip target reason)
  message(STATUS "Skipping ${target}: ${reason}")
endfunction()
