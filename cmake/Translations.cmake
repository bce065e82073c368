# machineservice_embed_translations(TARGET NAME): compiles translations/NAME_<language>.ts of every language and puts them
# into TARGET as the resource ":/NAME/translations/NAME_<language>.qm". Call it where the target is made.
function(machineservice_embed_translations i_target i_name)
    file(GLOB sources ${PROJECT_SOURCE_DIR}/translations/${i_name}_*.ts)
    # A new file touches its folder; the glob's own check would run in each build and leave "no work to do" no chance.
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/translations)
    set(resource ${CMAKE_CURRENT_BINARY_DIR}/${i_name}_translations)
    set(entries "")
    set(compiled "")
    foreach(source ${sources})
        get_filename_component(stem ${source} NAME_WE)
        set(output ${CMAKE_CURRENT_BINARY_DIR}/${stem}.qm)
        add_custom_command(OUTPUT ${output} COMMAND Qt5::lrelease -silent ${source} -qm ${output} DEPENDS ${source}
            COMMENT "Compiling ${stem}.ts" VERBATIM)
        list(APPEND compiled ${output})
        string(APPEND entries "    <file>${stem}.qm</file>\n")
    endforeach()
    file(CONFIGURE OUTPUT ${resource}.qrc @ONLY
        CONTENT "<RCC>\n<qresource prefix=\"/@i_name@/translations\">\n@entries@</qresource>\n</RCC>\n")
    add_custom_command(OUTPUT ${resource}.cpp
        COMMAND Qt5::rcc --name ${i_name}_translations --output ${resource}.cpp ${resource}.qrc
        DEPENDS ${resource}.qrc ${compiled} COMMENT "Embedding the translations of ${i_name}" VERBATIM)
    set_source_files_properties(${resource}.cpp PROPERTIES SKIP_AUTOGEN ON)
    target_sources(${i_target} PRIVATE ${resource}.cpp)
endfunction()
