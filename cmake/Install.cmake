# cmake --install: headers under include/oprj, the libraries, reference data, program with its completions,
# manual pages, licence, CMake package, pkg-config file.
include(CMakePackageConfigHelpers)

get_property(headers GLOBAL PROPERTY OPRJ_PUBLIC_HEADERS)
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/oprj)

foreach(target oPrjToolkit oPrj oPrjU)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${CMAKE_BINARY_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endforeach()
install(TARGETS oPrjToolkit oPrj oPrjU EXPORT oPrjTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# What is loaded when it is first needed: nobody links it, so that it lies in a folder of its own.
foreach(module oPrjEngine oPrjTiff oPrjPage)
  if(TARGET ${module})
    install(TARGETS ${module} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/oPrj)
  endif()
endforeach()
if(TARGET oPrjEngine)  # the one that stands on the toolkit
  set_target_properties(oPrjEngine PROPERTIES INSTALL_RPATH "$ORIGIN/..")
endif()
install(EXPORT oPrjTargets NAMESPACE oPrj:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/oPrj)
configure_package_config_file(cmake/oPrjConfig.cmake.in ${CMAKE_BINARY_DIR}/oPrjConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/oPrj PATH_VARS CMAKE_INSTALL_DATADIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/oPrjConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/oPrjConfig.cmake ${CMAKE_BINARY_DIR}/oPrjConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/oPrj)
file(RELATIVE_PATH OPRJ_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/oprj.pc.in ${CMAKE_BINARY_DIR}/oprj.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/oprj.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Manual pages of the interface and the files (docs/manual.py); those of the program are made by itself.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
  file(GLOB documents CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/*.md)
  set(pages ${CMAKE_BINARY_DIR}/pages)
  add_custom_command(OUTPUT ${pages}/made
    COMMAND Python3::Interpreter ${CMAKE_SOURCE_DIR}/docs/manual.py
            ${PROJECT_VERSION} ${CMAKE_SOURCE_DIR}/docs ${pages} ${headers}
    COMMAND ${CMAKE_COMMAND} -E touch ${pages}/made
    DEPENDS ${CMAKE_SOURCE_DIR}/docs/manual.py ${headers} ${documents} VERBATIM)
  add_custom_target(oprj_pages ALL DEPENDS ${pages}/made)
  install(DIRECTORY ${pages}/man3 ${pages}/man5 DESTINATION ${CMAKE_INSTALL_MANDIR})
else()
  message(STATUS "Python is not here: the manual pages of the interface and the files are not made")
endif()

file(GLOB reference_files ${CMAKE_SOURCE_DIR}/data/*.dat ${CMAKE_SOURCE_DIR}/data/*.tab ${CMAKE_SOURCE_DIR}/data/*.plib
                          ${CMAKE_SOURCE_DIR}/data/*.info
                          ${CMAKE_SOURCE_DIR}/data/coastline-*.txt ${CMAKE_SOURCE_DIR}/data/SOURCES.md)
install(FILES ${reference_files} DESTINATION ${CMAKE_INSTALL_DATADIR}/oPrj)
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/oPrj)
if(TARGET oprj)
  set_target_properties(oprj PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS oprj RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(NOT CMAKE_CROSSCOMPILING)  # made by running the program
    set(pages ${CMAKE_BINARY_DIR}/pages)
    install(DIRECTORY ${pages}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR})
    install(FILES ${pages}/oprj DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES ${pages}/_oprj DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    install(FILES ${pages}/oprj.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  endif()
endif()
set_target_properties(oPrj oPrjU PROPERTIES INSTALL_RPATH "$ORIGIN")
