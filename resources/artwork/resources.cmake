# The pictures of each edition: one drawing, three sets of colours.
set(entries)
function(add_pictures folder TITLE WARM MIDDLE COLD)
    set(out ${CMAKE_CURRENT_BINARY_DIR}/${folder})
    file(MAKE_DIRECTORY ${out})
    foreach(picture splashscreen.png=1200x720 about.png=960x320 appicon.png=256x256 fileicon.png=256x256
            manualcover.pdf=1200x1697)
        string(REPLACE "=" ";" parts ${picture})
        list(GET parts 0 name)
        list(GET parts 1 size)
        get_filename_component(base ${name} NAME_WE)
        configure_file(${CMAKE_CURRENT_SOURCE_DIR}/artwork/${base}.svg.in ${out}/${base}.svg @ONLY)
        add_custom_command(OUTPUT ${out}/${name}
            COMMAND morvane_rendersvg ${out}/${base}.svg ${out}/${name} ${size}
            DEPENDS morvane_rendersvg ${out}/${base}.svg VERBATIM)
        list(APPEND entries resources/${folder}/${name} ${out}/${name})
    endforeach()
    set(entries ${entries} PARENT_SCOPE)
endfunction()

add_pictures(mv "Morvane" "#ff9e64" "#b07cff" "#3399ff")
add_pictures(cardio "Morvane Cardio" "#ffc46b" "#ff5f6d" "#c2418f")
add_pictures(radio "Morvane Radio" "#d4f06b" "#2ec4a6" "#2a7fd4")

morvane_write_qrc(${CMAKE_CURRENT_BINARY_DIR}/pictures.qrc / ${entries})
list(APPEND MORVANE_QRC ${CMAKE_CURRENT_BINARY_DIR}/pictures.qrc)
