# The installer bundle carries what the host does not promise (packaging/host-libraries.txt),
# so it runs on desktops without Qt.
if(NOT RV_BUNDLE_RUNTIME)
    return()
endif()

find_program(RV_PATCHELF patchelf REQUIRED)
find_program(RV_OBJDUMP objdump REQUIRED)
find_program(RV_OBJCOPY objcopy REQUIRED)
find_program(RV_STRIP strip REQUIRED)

# Where each program of the bundle finds the bundle's libraries, without LD_LIBRARY_PATH
# (pkexec clears the environment).
set_target_properties(VelmoraInstaller train velmora_audio PROPERTIES
    BUILD_RPATH "$ORIGIN/../Frameworks" BUILD_WITH_INSTALL_RPATH OFF)

# What ships is stripped; the debugging information stays beside the build (build/debug),
# found by gdb through the debug link.
set(RV_DEBUG_DIR ${CMAKE_BINARY_DIR}/debug)

set(RV_QT_PLUGINS
    platforms/libqxcb.so
    platforms/libqwayland-generic.so
    wayland-shell-integration/libxdg-shell.so
    wayland-decoration-client/libbradient.so
    platforminputcontexts/libcomposeplatforminputcontextplugin.so
    imageformats/libqicns.so
    imageformats/libqsvg.so
    imageformats/libqjpeg.so
    iconengines/libqsvgicon.so)
set(RV_QT_PLUGIN_DIR ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_PLUGINS})
string(REPLACE ";" "$<SEMICOLON>" RV_QT_PLUGINS_ARG "${RV_QT_PLUGINS}")

set(RV_BUNDLE_STAMP ${CMAKE_BINARY_DIR}/bundle-runtime.stamp)
add_custom_command(OUTPUT ${RV_BUNDLE_STAMP}
    COMMAND ${CMAKE_COMMAND}
        -DBUNDLE=${RV_BUNDLE_DIR}
        "-DPROGRAMS=$<TARGET_FILE:VelmoraInstaller>$<SEMICOLON>$<TARGET_FILE:train>"
        "-DMODULES=$<TARGET_FILE:velmora_audio>"
        "-DSTRIPPED=$<TARGET_FILE:VelmoraInstaller>$<SEMICOLON>$<TARGET_FILE:train>$<SEMICOLON>$<TARGET_FILE:velmora_audio>$<SEMICOLON>$<TARGET_FILE:micro>"
        -DDEBUG_DIR=${RV_DEBUG_DIR} -DOBJCOPY=${RV_OBJCOPY} -DSTRIP=${RV_STRIP}
        -DQT_PLUGIN_DIR=${RV_QT_PLUGIN_DIR}
        "-DQT_PLUGINS=${RV_QT_PLUGINS_ARG}"
        -DHOST_LIST=${CMAKE_SOURCE_DIR}/packaging/host-libraries.txt
        -DPATCHELF=${RV_PATCHELF}
        -DCMAKE_GET_RUNTIME_DEPENDENCIES_PLATFORM=linux+elf
        -DCMAKE_GET_RUNTIME_DEPENDENCIES_TOOL=objdump
        -DCMAKE_GET_RUNTIME_DEPENDENCIES_COMMAND=${RV_OBJDUMP}
        -DSTAMP=${RV_BUNDLE_STAMP}
        -P ${CMAKE_SOURCE_DIR}/cmake/BundleRuntime.cmake
    DEPENDS VelmoraInstaller train velmora_audio micro
        ${CMAKE_SOURCE_DIR}/packaging/host-libraries.txt ${CMAKE_SOURCE_DIR}/cmake/BundleRuntime.cmake
    COMMENT "Copying the libraries the installer bundle needs into it"
    VERBATIM)
add_custom_target(bundle_runtime ALL DEPENDS ${RV_BUNDLE_STAMP})
add_dependencies(demo_bundle bundle_runtime)
