# Makes the installer bundle carry its libraries, run as a script (cmake -P) after the
# bundle's programs are built:
#   BUNDLE        the .app folder
#   PROGRAMS      its executables (RUNPATH set at link time)
#   MODULES       its loadable modules of our own
#   QT_PLUGIN_DIR Qt's plugin folder, QT_PLUGINS the plugins to carry (category/file)
#   HOST_LIST     the libraries left to the host, one soname per line with a reason
#   PATCHELF      the patchelf program
#   STRIPPED      the files of our own that ship stripped; their debugging information goes
#                 to DEBUG_DIR (OBJCOPY, STRIP)
#   STAMP         written when done
# Everything the programs, modules and plugins need, except the host list, goes into
# Contents/Frameworks; Qt's plugins into Contents/PlugIns; a qt.conf beside the installer
# makes Qt look only there.
cmake_minimum_required(VERSION 3.25)

set(frameworks "${BUNDLE}/Contents/Frameworks")
set(plugins "${BUNDLE}/Contents/PlugIns")

file(STRINGS "${HOST_LIST}" host_lines REGEX "^[^# \t]")
set(host_regexes)
foreach(line IN LISTS host_lines)
    string(REGEX MATCH "^[^ \t]+" soname "${line}")
    string(REPLACE "." "\\." soname "${soname}")
    string(REPLACE "+" "\\+" soname "${soname}")
    list(APPEND host_regexes "^${soname}$")
endforeach()

# Start from nothing, so that a library no longer needed does not stay behind.
file(REMOVE_RECURSE "${frameworks}")
foreach(plugin IN LISTS QT_PLUGINS)
    get_filename_component(category "${plugin}" DIRECTORY)
    file(REMOVE_RECURSE "${plugins}/${category}")
endforeach()

set(modules ${MODULES})
foreach(plugin IN LISTS QT_PLUGINS)
    get_filename_component(category "${plugin}" DIRECTORY)
    file(MAKE_DIRECTORY "${plugins}/${category}")
    file(COPY_FILE "${QT_PLUGIN_DIR}/${plugin}" "${plugins}/${plugin}")
    list(APPEND modules "${plugins}/${plugin}")
endforeach()

file(GET_RUNTIME_DEPENDENCIES
    EXECUTABLES ${PROGRAMS}
    MODULES ${modules}
    RESOLVED_DEPENDENCIES_VAR resolved
    UNRESOLVED_DEPENDENCIES_VAR unresolved
    CONFLICTING_DEPENDENCIES_PREFIX conflicting
    PRE_EXCLUDE_REGEXES ${host_regexes})
if(unresolved)
    message(FATAL_ERROR "The installer bundle needs libraries that were not found: ${unresolved}")
endif()
if(conflicting_FILENAMES)
    message(FATAL_ERROR "Two libraries of one name would go into the bundle: ${conflicting_FILENAMES}")
endif()

file(MAKE_DIRECTORY "${frameworks}")
foreach(library IN LISTS resolved)
    get_filename_component(name "${library}" NAME)
    file(REAL_PATH "${library}" real)
    file(COPY_FILE "${real}" "${frameworks}/${name}")
    file(CHMOD "${frameworks}/${name}" FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    execute_process(COMMAND "${PATCHELF}" --set-rpath "$ORIGIN" "${frameworks}/${name}" RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "patchelf failed on ${frameworks}/${name}")
    endif()
endforeach()
foreach(plugin IN LISTS QT_PLUGINS)
    execute_process(COMMAND "${PATCHELF}" --set-rpath "$ORIGIN/../../Frameworks" "${plugins}/${plugin}"
                    RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "patchelf failed on ${plugins}/${plugin}")
    endif()
endforeach()

# A file already stripped (a run of this step without a new link) keeps its earlier debug file.
file(MAKE_DIRECTORY "${DEBUG_DIR}")
foreach(file IN LISTS STRIPPED)
    get_filename_component(name "${file}" NAME)
    execute_process(COMMAND "${OBJCOPY}" --dump-section .debug_info=/dev/null "${file}" /dev/null
                    RESULT_VARIABLE no_debug_info OUTPUT_QUIET ERROR_QUIET)
    if(NOT no_debug_info)
        execute_process(COMMAND "${OBJCOPY}" --only-keep-debug "${file}" "${DEBUG_DIR}/${name}.debug"
                        COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND "${STRIP}" --strip-unneeded --remove-section=.gnu_debuglink "${file}"
                        COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND "${OBJCOPY}" "--add-gnu-debuglink=${DEBUG_DIR}/${name}.debug" "${file}"
                        COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()

file(WRITE "${BUNDLE}/Contents/MacOS/qt.conf" "[Paths]\nPrefix = ..\nPlugins = PlugIns\n")
list(LENGTH resolved count)
file(WRITE "${STAMP}" "${count} libraries\n")
