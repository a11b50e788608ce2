# Compile settings every target of this project shares.
function(erv_target_defaults target)
  target_compile_options(${target} PRIVATE -Wall -Wextra
    # The ABI note about parameter passing changes in GCC 7.1 is harmless for us.
    $<$<BOOL:${ERV_ARMHF}>:-Wno-psabi>
    $<$<BOOL:${ERV_WERROR}>:-Werror>)
  # Assertion records name their source relative to the project, not the build machine.
  target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
  if(ERV_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ERV_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${ERV_SANITIZE})
  endif()
  # Coverage feedback for libFuzzer from every target the fuzz binaries run through.
  if(ERV_FUZZ_ENGINE STREQUAL "libfuzzer")
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

include(GenerateExportHeader)

# erv_add_library(<name> ALIAS <ns::name> EXPORT_NAME <name in the installed package> OUTPUT <file stem>
#                 EXPORT_HEADER <Folder/Export.h> SOURCES ...)
# A shared library whose symbols are hidden unless marked with the macro of its generated export
# header (<BASE>_EXPORT, BASE from the header's folder), so only what a host may call is its ABI.
function(erv_add_library name)
  cmake_parse_arguments(ARG "" "ALIAS;EXPORT_NAME;OUTPUT;EXPORT_HEADER" "SOURCES" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  add_library(${ARG_ALIAS} ALIAS ${name})
  set_target_properties(${name} PROPERTIES
    OUTPUT_NAME ${ARG_OUTPUT}
    EXPORT_NAME ${ARG_EXPORT_NAME}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  get_filename_component(folder ${ARG_EXPORT_HEADER} DIRECTORY)
  string(TOUPPER ${folder} base)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
  generate_export_header(${name} BASE_NAME ${base} EXPORT_FILE_NAME ${generated}/${ARG_EXPORT_HEADER})
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${generated}>)
  install(FILES ${generated}/${ARG_EXPORT_HEADER} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder}
    COMPONENT Development)
  # Nobody interposes our exported functions, so calls between them inside the library may be
  # direct and inlined instead of going through the PLT (the bus path crosses several).
  target_compile_options(${name} PRIVATE -fno-semantic-interposition)
  erv_target_defaults(${name})
endfunction()

# erv_install_headers(<folder in the source tree> <folder under include/>): the public headers.
function(erv_install_headers from to)
  install(DIRECTORY ${from}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${to} COMPONENT Development
    FILES_MATCHING PATTERN "*.h" ${ARGN})
endfunction()

# erv_add_test(<name> SOURCES ... LIBS ... [LABELS ...]): one GoogleTest binary, registered test by
# test; the labels let a stage pick its tests (`ctest -L messaging`).
function(erv_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE erv_test_support ${ARG_LIBS})
  erv_target_defaults(${name})
  set(properties)
  if(ARG_LABELS)
    set(properties PROPERTIES LABELS "${ARG_LABELS}")
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES NO_PRETTY_TYPES
    ${properties})
endfunction()
