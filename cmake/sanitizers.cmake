# AddressSanitizer and UndefinedBehaviorSanitizer: the flags, written once.
include_guard(GLOBAL)
#
# SELVORA_SANITIZER_FLAGS are the compile flags every instrumented piece uses
# (the whole build with SELVORA_SANITIZE=ON, the library and the fuzz targets
# with SELVORA_BUILD_FUZZERS=ON), SELVORA_SANITIZER_LINK_FLAGS the link flags.
set(SELVORA_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all
  -fno-omit-frame-pointer)
set(SELVORA_SANITIZER_LINK_FLAGS -fsanitize=address,undefined)

# With SELVORA_SANITIZE=ON every target of the build is instrumented: the
# library, its tests and the programs they run.
if(SELVORA_SANITIZE)
  add_compile_options(${SELVORA_SANITIZER_FLAGS})
  add_link_options(${SELVORA_SANITIZER_LINK_FLAGS})
endif()
