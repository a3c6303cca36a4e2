# What every target of this project is built with, and the functions that declare them.

# The operating system's own sources, libraries and tests lie in folders of this name; the folder above adds the one.
if(CMAKE_SYSTEM_NAME STREQUAL "Windows")
  set(TAVRIN_SYSTEM windows)
else()
  set(TAVRIN_SYSTEM posix)
endif()

# What such a folder finds, the folders that link its library know.
set(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL ON)

# The executables of Windows stand alone, so that an archive that goes with a DLL is none for them.
if(WIN32)
  set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
endif()

# What the Windows API is compiled with.
set(TAVRIN_WINDOWS_DEFINITIONS UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)

add_library(tavrin_options INTERFACE)
target_compile_options(tavrin_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                                -Woverloaded-virtual -Wconversion)
target_compile_definitions(tavrin_options INTERFACE QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
if(WIN32)
  target_compile_definitions(tavrin_options INTERFACE ${TAVRIN_WINDOWS_DEFINITIONS})
endif()
if(TAVRIN_SANITIZE)
  target_compile_options(tavrin_options INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=undefined)
  target_link_options(tavrin_options INTERFACE -fsanitize=address,undefined)
endif()

# tavrin_library(<folder> SOURCES ... [LINK ...]): the static library of one folder of src/, called
# tavrin_<folder>. Its headers are included as "<folder>/<file>.h".
function(tavrin_library folder)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINK")
  add_library(tavrin_${folder} STATIC ${ARG_SOURCES})
  target_include_directories(tavrin_${folder} PUBLIC "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(tavrin_${folder} PUBLIC ${ARG_LINK} PRIVATE tavrin_options)
  # Most of the time that a window's source takes goes into the framework's headers.
  if(TAVRIN_UNITY AND ARG_LINK MATCHES "Qt6::Widgets|tavrin_scenes")
    set_target_properties(tavrin_${folder} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 5)
    # The compiler takes the sources that it is given together for headers.
    target_compile_options(tavrin_${folder} PRIVATE -Wno-subobject-linkage)
  endif()
endfunction()

# tavrin_pictures(<folder> <drawings> <side>): the drawings resources/<drawings>/*.svg, as PNG pictures of
# <side> × <side> pixels, are resources of the library tavrin_<folder>: ":/<drawings>/<name>.png".
function(tavrin_pictures folder drawings side)
  find_program(RSVG_CONVERT rsvg-convert REQUIRED)
  set(drawn "${CMAKE_CURRENT_BINARY_DIR}/${drawings}")
  file(MAKE_DIRECTORY "${drawn}")
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/resources/${drawings}/*.svg")
  set(pictures "")
  set(commands "")
  foreach(source IN LISTS sources)
    cmake_path(GET source STEM name)
    list(APPEND pictures "${drawn}/${name}.png")
    list(APPEND commands COMMAND "${RSVG_CONVERT}" -w ${side} -h ${side} -o "${drawn}/${name}.png" "${source}")
  endforeach()
  add_custom_command(OUTPUT ${pictures} ${commands} DEPENDS ${sources} COMMENT "Drawing ${drawings}" VERBATIM)
  set(CMAKE_AUTOMOC OFF) # for the object library that holds them
  qt_add_resources(tavrin_${folder} ${drawings} PREFIX "/${drawings}" BASE "${drawn}" FILES ${pictures})
endfunction()

# tavrin_program_part(<target>): an executable or module that lies in the program's folder: it is installed, and the
# program is not complete without it.
function(tavrin_program_part target)
  set_property(GLOBAL APPEND PROPERTY TAVRIN_PROGRAM_PARTS ${target})
endfunction()

# tavrin_manifest(<target>): the executable carries the manifest of packaging/windows, where there are manifests.
function(tavrin_manifest target)
  if(WIN32)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:tavrin_manifest>)
  endif()
endfunction()

# tavrin_test(<name> SOURCES ... [LINK ...] [LABELS ...] [TIMEOUT seconds]): one Qt Test executable,
# registered with CTest; runs without a display through Qt's offscreen platform. The address sanitizer holds back only
# little of what was freed: some tests watch that memory does not grow.
function(tavrin_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "TIMEOUT" "SOURCES;LINK;LABELS")
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${ARG_LINK} Qt6::Test tavrin_options)
  tavrin_manifest(${name})
  add_test(NAME ${name} COMMAND ${name})
  math(EXPR reported "${ARG_TIMEOUT} - 10")
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}"
    ENVIRONMENT_MODIFICATION "TAVRIN_SECONDS=set:${reported}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0;ASAN_OPTIONS=quarantine_size_mb=16")
endfunction()
