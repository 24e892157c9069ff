# Signs the assembled demo product the way a vendor signs a release: a key made once per
# build tree, its public half in the Info.plist, then the whole bundle signed.
# cmake -DSIGN_TOOL=... -DKEY=... -DINFO_IN=... -DAPP=... -P SignDemo.cmake
if(NOT EXISTS "${KEY}")
    execute_process(COMMAND "${SIGN_TOOL}" generate-key "${KEY}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endif()
execute_process(COMMAND "${SIGN_TOOL}" public-key "${KEY}" OUTPUT_VARIABLE public_key
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(READ "${INFO_IN}" info)
string(REPLACE "</dict>" "\t<key>VelmoraPublicEDKey</key>\n\t<string>${public_key}</string>\n</dict>" info "${info}")
file(WRITE "${APP}/Contents/Info.plist" "${info}")
execute_process(COMMAND "${SIGN_TOOL}" sign "${KEY}" "${APP}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
