#include "protocol/MessageTree.h"

#include <iomanip>
#include <locale>

#include "protocol/Envelope.h"

namespace kerrow {

void AddEnvelopeHead(TiXmlDocument& document, const char* contentType) {
    document.LinkEndChild(new TiXmlDeclaration("1.0", "UTF-8", ""));
    AddText(&document, "ContentLength", "00000000");
    AddText(&document, "ContentType", contentType);
}

void PrintDocument(const TiXmlDocument& document, std::string& out) {
    TiXmlPrinter printer;
    document.Accept(&printer);
    out = printer.Str();
}

ControlMessage::ControlMessage(int method) {
    AddEnvelopeHead(document_, "00");
    ValueText value;
    AddText(&document_, "Method", value.Signed(method));
    action_ = AddElement(&document_, "Action");
}

void ControlMessage::Print(std::string& out) const {
    PrintDocument(document_, out);
    StampContentLength(out);
}

TiXmlElement* AddElement(TiXmlNode* parent, const char* name) {
    auto* element = new TiXmlElement(name);
    parent->LinkEndChild(element);
    return element;
}

void AddText(TiXmlNode* parent, const char* name, const std::string& text) {
    TiXmlElement* element = AddElement(parent, name);
    element->LinkEndChild(new TiXmlText(text));
}

ValueText::ValueText() { stream_.imbue(std::locale::classic()); }

void ValueText::Begin() {
    stream_.str(std::string());
    stream_.clear();
}

const std::string& ValueText::End() {
    text_ = stream_.str();
    return text_;
}

const std::string& ValueText::Signed(int64_t value) {
    Begin();
    stream_ << value;
    return End();
}

const std::string& ValueText::Unsigned(uint64_t value) {
    Begin();
    stream_ << value;
    return End();
}

const std::string& ValueText::Float(float value) {
    Begin();
    stream_ << value;
    return End();
}

const std::string& ValueText::ZeroFilled2(uint64_t value) {
    Begin();
    const char fill = stream_.fill('0');
    stream_ << std::setw(2) << value;  // setw is reset by the output itself
    stream_.fill(fill);
    return End();
}

const std::string& ValueText::Word(const char* word) {
    Begin();
    stream_ << word;
    return End();
}

}  // namespace kerrow
