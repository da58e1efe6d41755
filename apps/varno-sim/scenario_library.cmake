# The scenario language: parser and expectations. Standard C++ only, so its tests need
# no world; the transcript's text form comes from the world's library. The fuzz build,
# which leaves the apps out, takes this library too.
set(LA_SCENARIO_DIR ${CMAKE_CURRENT_LIST_DIR})
add_library(la_scenario STATIC
            ${LA_SCENARIO_DIR}/scenario_words.cpp ${LA_SCENARIO_DIR}/scenario_parser.cpp
            ${LA_SCENARIO_DIR}/parse_host.cpp ${LA_SCENARIO_DIR}/parse_actions.cpp
            ${LA_SCENARIO_DIR}/parse_changes.cpp ${LA_SCENARIO_DIR}/parse_expectations.cpp
            ${LA_SCENARIO_DIR}/validate.cpp ${LA_SCENARIO_DIR}/expectations.cpp
            ${LA_SCENARIO_DIR}/cli.cpp)
target_include_directories(la_scenario PUBLIC ${LA_SCENARIO_DIR})
target_link_libraries(la_scenario PUBLIC la_sim la_messages la_platform)
