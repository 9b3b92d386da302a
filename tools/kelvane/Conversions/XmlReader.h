#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ByteReader.h"

namespace kelvane {

/// The elements of an XML document, one after another, as far as files of measurements need them: UTF-8, no
/// DTD and so no entities but the five that are always there. What is not well-formed ends the conversion.
class XmlReader {
public:
    enum class Event { begin, end, documentEnd };

    explicit XmlReader(std::unique_ptr<DataFile> file);

    /// The next element that begins or ends.
    Event next();

    /// Of the element: its name without a prefix.
    const std::string& name() const { return elementName; }
    /// Of an element that begins: an attribute; null when it does not have it.
    const std::string* attribute(std::string_view name) const;
    /// Of an element that ends: the text that stands directly in it, behind its last child.
    const std::string& text() const { return content; }
    /// How many elements are open.
    std::size_t depth() const { return open.size(); }
    const std::string& fileName() const { return bytes.name(); }
    std::size_t line() const { return lineNumber; }
    /// Ends the conversion: "walk.gpx:12: what".
    [[noreturn]] void fail(const std::string& what) const;

private:
    int get();
    void expect(char expected, const char* where);
    void skipBlanks();
    void skipUntil(std::string_view end);
    bool takeDeclaration();
    std::string readName();
    void readAttributes();
    void append(std::string& text, int byte);
    void appendReference(std::string& text);
    void endElement();

    ByteReader bytes;
    std::size_t lineNumber = 1;
    std::vector<std::string> open;
    std::string elementName, content;
    std::vector<std::pair<std::string, std::string>> attributes;
    bool endsAtOnce = false, hadRoot = false, hasTaken = false;
};

}  // namespace kelvane
