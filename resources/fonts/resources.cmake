# The program asks for these names; the packages fonts-open-sans and fonts-roboto-unhinted have the
# same faces under names of their own.
set(entries)
function(add_face alias)
    find_file(FONT_${alias} NAMES ${ARGN} NO_DEFAULT_PATH PATHS
        /usr/share/fonts/truetype/open-sans
        /usr/share/fonts/truetype/roboto/unhinted/RobotoTTF
        /usr/share/fonts/truetype/roboto/unhinted)
    mark_as_advanced(FONT_${alias})
    if(NOT FONT_${alias})
        message(FATAL_ERROR "${ARGN} is missing: install fonts-open-sans and fonts-roboto-unhinted")
    endif()
    set(entries ${entries} ${alias}.ttf ${FONT_${alias}} PARENT_SCOPE)
endfunction()

foreach(face Regular Italic Bold)
    add_face(OpenSans-${face} OpenSans-${face}.ttf)
    add_face(Roboto-${face} Roboto-${face}.ttf)
    add_face(RobotoCondensed-${face} RobotoCondensed-${face}.ttf)
endforeach()
foreach(face Light LightItalic Bold)
    add_face(OpenSansCondensed-${face} OpenSans-Cond${face}.ttf)
endforeach()

morvane_write_qrc(${CMAKE_CURRENT_BINARY_DIR}/fonts.qrc /stylesheets/fonts ${entries})
list(APPEND MORVANE_QRC ${CMAKE_CURRENT_BINARY_DIR}/fonts.qrc)
