# The pointers of the tools, white on a dark edge, named as the sheets name pictures.
set(entries)
set(out ${CMAKE_CURRENT_BINARY_DIR}/cursors)
file(MAKE_DIRECTORY ${out})
file(GLOB drawings CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/cursors/*.svg)
foreach(drawing ${drawings})
    get_filename_component(base ${drawing} NAME_WE)
    add_custom_command(OUTPUT ${out}/${base}.png
        COMMAND morvane_rendersvg ${drawing} ${out}/${base}.png 32x32 "#ffffff"
        DEPENDS morvane_rendersvg ${drawing} VERBATIM)
    list(APPEND entries ${base}.png ${out}/${base}.png)
    list(APPEND MORVANE_QRC_DEPENDS ${out}/${base}.png)
endforeach()
morvane_write_qrc(${CMAKE_CURRENT_BINARY_DIR}/cursors.qrc /stylesheets ${entries})
list(APPEND MORVANE_QRC ${CMAKE_CURRENT_BINARY_DIR}/cursors.qrc)
