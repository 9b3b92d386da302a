# Turns the viewer's page into a source of the tool: cmake -D PAGE=... -D SOURCE=... -P EmbedPage.cmake
file(READ ${PAGE} page)
foreach(placeholder title picture data)
    string(REGEX MATCHALL "<!--kelvane-${placeholder}-->" places "${page}")
    list(LENGTH places count)
    if(NOT count EQUAL 1)
        message(FATAL_ERROR "${PAGE} has ${count} times <!--kelvane-${placeholder}-->; once was expected")
    endif()
endforeach()
file(READ ${PAGE} bytes HEX)
string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${SOURCE} "#include \"Report/ViewerPage.h\"

namespace kelvane {

std::string_view viewerPage() {
    static constexpr unsigned char bytes[] = {
${bytes}};
    return {reinterpret_cast<const char*>(bytes), sizeof bytes};
}

}  // namespace kelvane
")
