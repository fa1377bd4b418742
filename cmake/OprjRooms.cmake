# Rooms: each folder lists its sources and its public headers; the public headers of all rooms are seen
# as <oprj/NAME.h>, in the build tree through links and after installation for real.

add_library(oprj_settings INTERFACE)
target_compile_options(oprj_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion $<$<BOOL:${OPRJ_WERROR}>:-Werror> -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # Formulas combine truths by | and &, because truths of lanes are no bool; and single sources silence
  # warnings that only GCC has.
  target_compile_options(oprj_settings INTERFACE -Wno-bitwise-instead-of-logical -Wno-unknown-warning-option)
endif()
target_include_directories(oprj_settings INTERFACE ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}/include)
if(OPRJ_SANITIZE)
  # but for targets with the property OPRJ_PLAIN
  set(checked $<NOT:$<BOOL:$<TARGET_PROPERTY:OPRJ_PLAIN>>>)
  target_compile_options(oprj_settings INTERFACE
    $<${checked}:-fsanitize=address,undefined> $<${checked}:-fno-sanitize-recover=all>
    -fno-omit-frame-pointer -g)
  target_link_options(oprj_settings INTERFACE -fsanitize=address,undefined)
endif()
if(OPRJ_FUZZ)
  target_compile_options(oprj_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()

set_property(GLOBAL PROPERTY OPRJ_PUBLIC_HEADERS "")

# oprj_public_headers(NAME.h ...): announces headers of the current room.
function(oprj_public_headers)
  foreach(header ${ARGN})
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/include/oprj)
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${CMAKE_BINARY_DIR}/include/oprj/${header} SYMBOLIC)
    set_property(GLOBAL APPEND PROPERTY OPRJ_PUBLIC_HEADERS ${CMAKE_CURRENT_SOURCE_DIR}/${header})
  endforeach()
endfunction()

# oprj_objects(NAME LIST DEFINITIONS SOURCES ...): objects NAME, noted in the global property LIST.
function(oprj_objects name list definitions)
  add_library(${name} OBJECT ${ARGN})
  target_link_libraries(${name} PRIVATE oprj_settings)
  target_compile_definitions(${name} PRIVATE ${definitions})
  set_property(GLOBAL APPEND PROPERTY ${list} ${name})
endfunction()

# oprj_room(NAME SOURCES ... TEXTS SOURCES ... NARROW SOURCES ...): a group of sources of liboPrj and its wide
# twin, built as objects (docs/wide-build.md). The first ones touch no text: they are built once, in a way in
# which texts cannot be touched, and serve both libraries. Those behind TEXTS are built once for each width of
# text, those behind NARROW for liboPrj alone.
function(oprj_room name)
  cmake_parse_arguments(room "" "" "TEXTS;NARROW" ${ARGN})
  if(room_UNPARSED_ARGUMENTS)
    oprj_objects(oprj_${name} OPRJ_ROOMS OPRJ_TEXTLESS ${room_UNPARSED_ARGUMENTS})
  endif()
  if(room_TEXTS)
    oprj_objects(oprj_${name}_wide OPRJ_WIDE_ROOMS OPRJ_WIDE ${room_TEXTS})
  endif()
  if(room_TEXTS OR room_NARROW)
    oprj_objects(oprj_${name}_narrow OPRJ_NARROW_ROOMS "" ${room_TEXTS} ${room_NARROW})
  endif()
endfunction()

# The instruction sets of the processor, with their flags: OPRJ_SETS, OPRJ_FLAGS_set.
set(OPRJ_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/../lanes/${OPRJ_PROCESSOR}.cmake)

# oprj_lanes_objects(NAME SOURCES ...): sources with lanes (lanes/lanes.h) as objects NAME_set, built once a
# set; the first set also makes what is not of a set. Only the first set's are sanitized: formulas inlined
# whole into wide vectors take the compiler half an hour with checks on every operation, and it is the same
# source (OPRJ_SANITIZE_SETS asks for all).
function(oprj_lanes_objects name)
  set(flat -DOPRJ_FLAT=1)
  set(plain OFF)
  foreach(set ${OPRJ_SETS})
    add_library(${name}_${set} OBJECT ${ARGN})
    target_link_libraries(${name}_${set} PRIVATE oprj_settings)
    target_compile_options(${name}_${set} PRIVATE
      -DOPRJ_SET=${set} -DOPRJ_TEXTLESS ${flat} ${OPRJ_FLAGS_${set}} -fno-math-errno -fno-trapping-math -Wno-psabi)
    set_target_properties(${name}_${set} PROPERTIES OPRJ_PLAIN ${plain})
    set(flat "")
    if(NOT OPRJ_SANITIZE_SETS)
      set(plain ON)
    endif()
  endforeach()
endfunction()

# oprj_lanes_room(NAME SOURCES ...): such sources of liboPrj.
function(oprj_lanes_room name)
  oprj_lanes_objects(oprj_${name} ${ARGN})
  foreach(set ${OPRJ_SETS})
    set_property(GLOBAL APPEND PROPERTY OPRJ_ROOMS oprj_${name}_${set})
  endforeach()
endfunction()

# oprj_shared_library(NAME EXPORTS OBJECTS ...): one of the two libraries.
function(oprj_shared_library name exports)
  add_library(${name} SHARED ${ARGN})
  target_link_libraries(${name} PRIVATE oprj_settings PUBLIC oPrjToolkit)
  # The library's calls of its own functions are its own, whatever else the process exports.
  set(exports ${CMAKE_SOURCE_DIR}/cmake/${exports})
  target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions -Wl,--version-script=${exports})
  set_target_properties(${name} PROPERTIES LINK_DEPENDS ${exports})
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0 LINKER_LANGUAGE CXX)
endfunction()

# oprj_library(): liboPrj and liboPrjU from all rooms.
function(oprj_library)
  foreach(list OPRJ_ROOMS OPRJ_NARROW_ROOMS OPRJ_WIDE_ROOMS)
    get_property(rooms GLOBAL PROPERTY ${list})
    set(${list} "")
    foreach(room ${rooms})
      list(APPEND ${list} $<TARGET_OBJECTS:${room}>)
    endforeach()
  endforeach()
  set(objects ${OPRJ_ROOMS} ${OPRJ_NARROW_ROOMS})
  oprj_shared_library(oPrj oprj.exports ${objects})
  oprj_shared_library(oPrjU oprju.exports ${OPRJ_ROOMS} ${OPRJ_WIDE_ROOMS})
  target_compile_definitions(oPrjU INTERFACE OPRJ_WIDE)
  # Handles hold addresses in it that outlive whoever has loaded it.
  target_link_options(oPrjU PRIVATE -Wl,-z,nodelete)
  # The narrow library's objects without the visibility of a shared one: for tests and benchmarks of internals.
  add_library(oprj_internals STATIC EXCLUDE_FROM_ALL ${objects})
  target_link_libraries(oprj_internals PUBLIC oprj_settings oPrjToolkit)
  set_target_properties(oprj_internals PROPERTIES LINKER_LANGUAGE CXX)
endfunction()
