#pragma once
// A small JSON writer: values are written as they come, indented two
// spaces a level; commas and the nesting are its business.
//
//   JsonWriter json(std::cout);
//   json.BeginObject().Field("file", path).Key("ids").BeginArray();
//   for (auto id : ids) json.Number(id);
//   json.EndArray().EndObject().Finish();

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace Orvik {
namespace Tools {

class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : out_(out) {}

    JsonWriter& BeginObject() { return Open('{'); }
    JsonWriter& EndObject() { return Close('}'); }
    JsonWriter& BeginArray() { return Open('['); }
    JsonWriter& EndArray() { return Close(']'); }
    // The name of the next member of the open object.
    JsonWriter& Key(const std::string& name);

    // Text in any code page: bytes that are no UTF-8 are written as the
    // characters U+0080 to U+00FF.
    JsonWriter& String(const std::string& text);
    JsonWriter& Number(int64_t value);
    JsonWriter& Bool(bool value);
    JsonWriter& Null();

    template <class T>
    JsonWriter& Field(const std::string& name, const T& value)
    {
        Key(name);
        return Write(value);
    }

    // Ends the document with a line feed.
    void Finish() { out_ << '\n'; }

private:
    JsonWriter& Write(const std::string& text) { return String(text); }
    JsonWriter& Write(const char* text) { return String(text); }
    JsonWriter& Write(bool value) { return Bool(value); }
    template <class T>
    JsonWriter& Write(T value)
    {
        return Number(static_cast<int64_t>(value));
    }

    JsonWriter& Open(char bracket);
    JsonWriter& Close(char bracket);
    // Separator and indentation before a value or a key.
    void BeforeElement();
    void NewLine();

    std::ostream& out_;
    // Members written so far in each open object or array.
    std::vector<int> counts_;
    bool afterKey_ = false;
};

}  // namespace Tools
}  // namespace Orvik
