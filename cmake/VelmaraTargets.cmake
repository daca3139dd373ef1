# velmara_library(<folder> [AUTOMOC] [DEPENDS targets...])
# One static library per subsystem folder of src/, named velmara_<folder> and velmara::<folder>.
# Sources are globbed so that a new file needs no CMake edit. AUTOMOC only for the folders that
# declare QObject classes.
function(velmara_library folder)
  cmake_parse_arguments(ARG "AUTOMOC" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp)
  if(NOT sources)
    message(FATAL_ERROR "src/${folder} holds no sources")
  endif()
  set(target velmara_${folder})
  add_library(${target} STATIC ${sources})
  add_library(velmara::${folder} ALIAS ${target})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PUBLIC ${ARG_DEPENDS})
  set_target_properties(${target} PROPERTIES AUTOMOC ${ARG_AUTOMOC})
endfunction()

# The environment of every test. Under the sanitizers, leaks inside system libraries that the
# tests cannot free (the font library's caches) are suppressed, so that a leak report means ours.
set(VELMARA_TEST_ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
if(VELMARA_SANITIZE)
  string(APPEND VELMARA_TEST_ENVIRONMENT
         ";LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/lsan.supp:print_suppressions=0"
         ";UBSAN_OPTIONS=print_stacktrace=1")
endif()
