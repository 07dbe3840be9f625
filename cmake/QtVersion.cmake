# Qt 6 or Qt 5.15 under the same names: Varek::QtCore, Varek::QtWidgets, ...

if(NOT VAREK_QT MATCHES "^[56]$")
  message(FATAL_ERROR "VAREK_QT must be 6 or 5, not '${VAREK_QT}'")
endif()

set(varek_qt_minimum_5 5.15)
set(varek_qt_minimum_6 6.2)
set(varek_qt_components Core Gui Widgets PrintSupport Test)
find_package(Qt${VAREK_QT} ${varek_qt_minimum_${VAREK_QT}} REQUIRED COMPONENTS ${varek_qt_components})

foreach(component IN LISTS varek_qt_components)
  add_library(Varek::Qt${component} INTERFACE IMPORTED)
  target_link_libraries(Varek::Qt${component} INTERFACE Qt${VAREK_QT}::${component})
  target_compile_definitions(Varek::Qt${component} INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_NO_FOREACH QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
endforeach()
