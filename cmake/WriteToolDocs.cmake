# Writes the tool's manual page and completions, which the tool makes: cmake -D TOOL=... -D FOLDER=... -P WriteToolDocs.cmake
file(MAKE_DIRECTORY ${FOLDER})
function(write name)
    execute_process(COMMAND ${TOOL} help ${ARGN} OUTPUT_FILE ${FOLDER}/${name} COMMAND_ERROR_IS_FATAL ANY)
endfunction()
write(kelvane.1 --man)
write(kelvane.bash --completions bash)
write(_kelvane --completions zsh)
write(kelvane.fish --completions fish)
