# Run by CTest: builds the two probes against the core's usage requirements.
# The control must compile and the widget probe must be refused for want of
# its header.
foreach(target coreProbe coreWidgetProbe)
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD_DIR} --target ${target}
                  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  set(${target}_result ${result})
  set(${target}_output "${out}${err}")
endforeach()
if(NOT coreProbe_result EQUAL 0)
  message(FATAL_ERROR "the core's own headers do not compile:\n${coreProbe_output}")
endif()
if(coreWidgetProbe_result EQUAL 0)
  message(FATAL_ERROR "a widget header compiled against the core: the core reaches Qt5::Widgets")
endif()
if(NOT coreWidgetProbe_output MATCHES "QMessageBox: No such file")
  message(FATAL_ERROR "the widget probe failed for another reason:\n${coreWidgetProbe_output}")
endif()
message(STATUS "the core links no widgets")
