# Compiler settings shared by the library, tests, benchmarks and examples.
function(framquist_apply_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual
                                           -Wcast-align -Wformat=2 -Wimplicit-fallthrough)
  if(FRAMQUIST_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(FRAMQUIST_SANITIZE)
    list(JOIN FRAMQUIST_SANITIZE "," san)
    # GCC 12 reports false maybe-uninitialized warnings in std::variant and
    # std::string under the sanitizers; release builds keep the warning.
    target_compile_options(${target} PRIVATE -fsanitize=${san} -fno-omit-frame-pointer
                                             $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(${target} PRIVATE -fsanitize=${san})
    if("undefined" IN_LIST FRAMQUIST_SANITIZE)
      target_compile_options(${target} PRIVATE -fno-sanitize-recover=undefined)
    endif()
  endif()
endfunction()

# Adds sources of one folder to the library.
function(framquist_sources)
  list(TRANSFORM ARGN PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  target_sources(framquist PRIVATE ${ARGN})
endfunction()

# Compiles one source of the library for a CPU target (kernels chosen at run time).
function(framquist_target_source file)
  set(flags ${ARGN})
  set_source_files_properties("${CMAKE_CURRENT_SOURCE_DIR}/${file}" TARGET_DIRECTORY framquist
                              PROPERTIES COMPILE_OPTIONS "${flags}")
  framquist_sources(${file})
endfunction()
