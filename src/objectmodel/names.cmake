# Object names and the object map: QtCore only, no object model classes.
tolvex_add_subsystem(tolvex_objectnames
    SOURCES
        ${CMAKE_CURRENT_SOURCE_DIR}/propertyvalue.h
        ${CMAKE_CURRENT_SOURCE_DIR}/propertyvalue.cpp
        ${CMAKE_CURRENT_SOURCE_DIR}/objectname.h
        ${CMAKE_CURRENT_SOURCE_DIR}/objectname_p.h
        ${CMAKE_CURRENT_SOURCE_DIR}/objectname.cpp
        ${CMAKE_CURRENT_SOURCE_DIR}/objectmap.h
        ${CMAKE_CURRENT_SOURCE_DIR}/objectmap_p.h
        ${CMAKE_CURRENT_SOURCE_DIR}/objectmap.cpp
    DEPENDS tolvex_fkit Qt6::Core)
