// Helpers shared by the message builders: element trees and value texts.
// Internal to the protocol folder.
#pragma once

#include <tinyxml.h>

#include <cstdint>
#include <sstream>
#include <string>

namespace kerrow {

// A control message being built: declaration, ContentLength "00000000",
// ContentType "00", Method and an empty Action, to which the builder adds the
// body before printing.
class ControlMessage {
  public:
    explicit ControlMessage(int method);
    ControlMessage(const ControlMessage&) = delete;
    ControlMessage& operator=(const ControlMessage&) = delete;

    TiXmlElement* Action() { return action_; }
    // Prints the document with the default printer and stamps its length.
    void Print(std::string& out) const;

  private:
    TiXmlDocument document_;
    TiXmlElement* action_;
};

// Links the declaration, ContentLength "00000000" and ContentType to an
// empty document.
void AddEnvelopeHead(TiXmlDocument& document, const char* contentType);

// Four-space indent, "\n" line breaks: the layout the head offsets rely on.
void PrintDocument(const TiXmlDocument& document, std::string& out);

// Appends an empty element and returns it, owned by parent.
TiXmlElement* AddElement(TiXmlNode* parent, const char* name);

// Appends <name>text</name>; an empty text still gets its text child, so it
// prints as <name></name>.
void AddText(TiXmlNode* parent, const char* name, const std::string& text);

// The one number stream of a message. It is emptied before each value, so
// every text holds one value, printed as a default-flag stream prints it.
class ValueText {
  public:
    ValueText();
    ValueText(const ValueText&) = delete;
    ValueText& operator=(const ValueText&) = delete;

    // Widened first, so that 8-bit values are printed as numbers.
    const std::string& Signed(int64_t value);
    const std::string& Unsigned(uint64_t value);
    const std::string& Float(float value);
    // At least two digits, zero-filled; the width applies to this value only.
    const std::string& ZeroFilled2(uint64_t value);
    const std::string& Word(const char* word);
    // The text of the last value written.
    const std::string& Last() const { return text_; }

  private:
    void Begin();
    const std::string& End();

    std::ostringstream stream_;
    std::string text_;
};

}  // namespace kerrow
