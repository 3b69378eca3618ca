// The request readers' walk over a parsed message: one element and its path
// ("Action-Control-Camera"), with typed reading of its children. A missing
// child or a text that is not a number of the field's range is written into
// the shared Problems and marks the reading as failed; the field keeps its
// value. A child of a missing element is not reported again.
// Internal to the server side of the protocol.
#pragma once

#include <tinyxml.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "protocol/server/RequestReaders.h"

namespace kerrow {

// What a whole reading shares: its problems and whether it stayed whole.
struct ReadState {
    explicit ReadState(Problems* sink) : problems(sink) {}
    Problems* problems;
    bool whole = true;
    void Note(const std::string& problem);
};

class ElementReader {
  public:
    // Action at the document's root.
    static ElementReader Action(const TiXmlDocument& document, ReadState& state);

    // The first child of that name; a missing one is reported.
    ElementReader Child(const char* name) const;
    // The first child of that name, or a reader without element; nothing is
    // reported.
    ElementReader Optional(const char* name) const;
    // The next sibling of the same name (repeated elements), unreported.
    ElementReader NextSibling() const;

    const TiXmlElement* Element() const { return element_; }
    bool Present() const { return element_ != nullptr; }
    bool HasChild(const char* name) const;

    // The child's text; "" for a child without text.
    void Text(const char* name, std::string& field) const;
    // The child's number in the range of Printed (the type the builder
    // printed it as), stored in the field's type as a cast would.
    template <class Printed, class Field>
    void Number(const char* name, Field& field) const {
        int64_t value = 0;
        if (ReadInteger(name, std::numeric_limits<Printed>::min(),
                        std::numeric_limits<Printed>::max(), value)) {
            field = static_cast<Field>(static_cast<Printed>(value));
        }
    }
    void Float(const char* name, float& field) const;
    // The child's text must be one of two words: field becomes 1 for the
    // first, 0 for the second.
    void Choice(const char* name, const char* one, const char* zero, uint8_t& field) const;

  private:
    ElementReader(const TiXmlElement* element, std::string path, ReadState& state)
        : element_(element), path_(std::move(path)), state_(&state) {}

    std::string ChildPath(const char* name) const;
    // The child's text for a number; null (reported) when missing.
    const TiXmlElement* NeedChild(const char* name) const;
    bool ReadInteger(const char* name, int64_t min, int64_t max, int64_t& value) const;
    void Malformed(const char* name, const char* text) const;

    const TiXmlElement* element_;
    std::string path_;
    ReadState* state_;
};

// Strict decimal integer: an optional minus sign and 1 to 19 digits, nothing
// else; false for anything else or a value outside [min, max].
bool ParseInteger(const char* text, int64_t min, int64_t max, int64_t& value);

}  // namespace kerrow
