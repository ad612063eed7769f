# Helpers shared by every folder of the build.

set_property(GLOBAL PROPERTY SHERD_COMPONENTS "")

# sherd_component(NAME <target> FOLDER <dir> SOURCES ... [HEADERS ...] [DEPS ...] [LIBS ...])
#   A floor of libsherd: a static library of its sources, part of the shared
#   library. HEADERS are installed under include/sherd/<FOLDER>; DEPS are other
#   components, LIBS outside libraries.
function(sherd_component)
  cmake_parse_arguments(C "" "NAME;FOLDER" "SOURCES;HEADERS;DEPS;LIBS" ${ARGN})
  add_library(${C_NAME} STATIC ${C_SOURCES} ${C_HEADERS})
  target_compile_definitions(${C_NAME} PUBLIC SHERD_BUILDING_LIBRARY)
  target_include_directories(${C_NAME} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  target_link_libraries(${C_NAME} PUBLIC ${C_DEPS} ${C_LIBS})
  set_property(GLOBAL APPEND PROPERTY SHERD_COMPONENTS ${C_NAME})
  set_property(GLOBAL APPEND PROPERTY SHERD_COMPONENT_LIBS ${C_LIBS})
  if(C_HEADERS)
    install(FILES ${C_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sherd/${C_FOLDER})
  endif()
endfunction()

# The shared library from every component declared so far.
function(sherd_finish_library)
  get_property(comps GLOBAL PROPERTY SHERD_COMPONENTS)
  file(WRITE ${PROJECT_BINARY_DIR}/sherd_empty.cpp "// libsherd is made of its components\n")
  add_library(sherd SHARED ${PROJECT_BINARY_DIR}/sherd_empty.cpp)
  add_library(sherd::sherd ALIAS sherd)
  set_target_properties(sherd PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  get_property(libs GLOBAL PROPERTY SHERD_COMPONENT_LIBS)
  # The components' object files, compiled once, make up the shared library.
  foreach(c IN LISTS comps)
    target_sources(sherd PRIVATE $<TARGET_OBJECTS:${c}>)
  endforeach()
  if(libs)
    list(REMOVE_DUPLICATES libs)
    target_link_libraries(sherd PRIVATE ${libs})
  endif()
  target_link_libraries(sherd PUBLIC Qt5::Core Qt5::Gui Qt5::Widgets)
  target_include_directories(sherd INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/sherd>)

  install(TARGETS sherd EXPORT sherdTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(EXPORT sherdTargets NAMESPACE sherd:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sherd)
  include(CMakePackageConfigHelpers)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/sherdConfig.cmake.in
    ${PROJECT_BINARY_DIR}/sherdConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sherd)
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/sherdConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/sherdConfig.cmake ${PROJECT_BINARY_DIR}/sherdConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sherd)
endfunction()

# sherd_test(NAME <exe> SOURCES ... LIBS ...): a GoogleTest program registered with CTest.
function(sherd_test)
  cmake_parse_arguments(T "" "NAME" "SOURCES;LIBS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest GTest::gtest_main)
  target_compile_definitions(${T_NAME} PRIVATE
    SHERD_REALDATA_DIR="${PROJECT_SOURCE_DIR}/../shared/realdata")
  gtest_discover_tests(${T_NAME} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()
