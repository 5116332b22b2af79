# The module: its code as a static library, and the plug-in that the host
# loads, built from it. Module code sees only hostapi/, the standard library
# and RapidJSON.
add_library(webapi_core STATIC
  commands/ActiveShapeScene.cpp
  commands/ActiveView.cpp
  commands/AnnotationSetCommands.cpp
  commands/ApplicationWorld.cpp
  commands/ColourCommands.cpp
  commands/ColourText.cpp
  commands/ConnectionNavigation.cpp
  commands/CrossSelection.cpp
  commands/ModelAnnotationCommands.cpp
  commands/ModuleTrace.cpp
  commands/ProfileCommands.cpp
  commands/SelectionCommands.cpp
  commands/TreeObserverCommands.cpp
  commands/ViewablesCommands.cpp
  commands/WebApiModuleImpl.cpp
  commands/ZoomCommands.cpp
  host/WebApiModuleThread.cpp
  publisher/GuiInterface.cpp
  publisher/KnownInstanceSet.cpp
  publisher/TreeDocuments.cpp
  loader/ShapeSceneLoader.cpp
  remote/FactoryRegistration.cpp
  remote/Registration.cpp
  remote/TreeObserverProxy.cpp
  remote/ViewablesRequestProxy.cpp
  remote/WebApiModuleDispatch.cpp
  remote/WebApiModuleProxy.cpp
  tree/FlyToAll.cpp
  tree/GuiTreeWatcher.cpp
  tree/InstanceLoad.cpp
  tree/LoadEvents.cpp
  tree/MyShapedEnumerator.cpp
  tree/NodeAddressing.cpp
  tree/NodeVisitor.cpp
  tree/ProgressEvents.cpp
  tree/QueryNodeStates.cpp
  tree/SelectTreeNodes.cpp
  tree/TextCut.cpp
)
set_target_properties(webapi_core PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
target_include_directories(webapi_core PUBLIC ${PROJECT_SOURCE_DIR} ${RAPIDJSON_INCLUDE_DIR})
target_link_libraries(webapi_core PUBLIC hostapi)
# Unique-binding statics (function-local statics of inline templates) would
# keep the plug-in in memory after dlclose.
target_compile_options(webapi_core PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)

# The plug-in, linked with the host's libraries that it calls. Whole-archive: the static registrations of the proxy factories
# are referenced by nothing else.
add_library(webapi_plugin MODULE host/ModuleEntries.cpp)
set_target_properties(webapi_plugin PROPERTIES
  OUTPUT_NAME webapi
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/webapi.map)
target_compile_options(webapi_plugin PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
target_link_options(webapi_plugin PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/webapi.map)
target_link_libraries(webapi_plugin PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,webapi_core>" qxplatform qxworld qxcontent)
