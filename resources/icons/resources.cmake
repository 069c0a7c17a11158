# The icons: every SVG of this folder, drawn in the default of the property "coloricon", at single and
# double size. Sheets and menus name them ":/icons/<name>.png"; Qt takes the double size by itself.
set(entries)
set(out ${CMAKE_CURRENT_BINARY_DIR}/icons)
file(MAKE_DIRECTORY ${out})
file(GLOB drawings CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/icons/*.svg)
foreach(drawing ${drawings})
    get_filename_component(base ${drawing} NAME_WE)
    if(base STREQUAL spectrogram)
        set(sizes ${base}.png=128x80 ${base}@2x.png=256x160)
    elseif(base MATCHES "^message") # of the boxes, in colours of their own
        set(sizes ${base}.png=32x32 ${base}@2x.png=64x64)
    else()
        set(sizes ${base}.png=16x16 ${base}@2x.png=32x32)
    endif()
    foreach(picture ${sizes})
        string(REPLACE "=" ";" parts ${picture})
        list(GET parts 0 name)
        list(GET parts 1 size)
        add_custom_command(OUTPUT ${out}/${name}
            COMMAND morvane_rendersvg ${drawing} ${out}/${name} ${size} "#c0c0c0"
            DEPENDS morvane_rendersvg ${drawing} VERBATIM)
        list(APPEND entries ${name} ${out}/${name})
        list(APPEND MORVANE_QRC_DEPENDS ${out}/${name})
    endforeach()
endforeach()
morvane_write_qrc(${CMAKE_CURRENT_BINARY_DIR}/icons.qrc /icons ${entries})
list(APPEND MORVANE_QRC ${CMAKE_CURRENT_BINARY_DIR}/icons.qrc)
