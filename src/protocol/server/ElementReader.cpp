#include "protocol/server/ElementReader.h"

#include <cmath>
#include <cstring>
#include <locale>
#include <sstream>

namespace kerrow {
namespace {

// A malformed text is quoted in the problem up to this many bytes, so that a
// peer cannot make one problem line as long as its message.
constexpr size_t kQuotedText = 40;

std::string Quoted(const char* text) {
    std::string quoted = "'";
    const size_t length = std::strlen(text);
    quoted.append(text, length < kQuotedText ? length : kQuotedText);
    if (length > kQuotedText) quoted += "...";
    return quoted + "'";
}

}  // namespace

void ReadState::Note(const std::string& problem) {
    whole = false;
    if (problems != nullptr) problems->push_back(problem);
}

bool ParseInteger(const char* text, int64_t min, int64_t max, int64_t& value) {
    if (text == nullptr) return false;
    const bool negative = *text == '-';
    if (negative) ++text;
    const size_t digits = std::strlen(text);
    if (digits == 0 || digits > 19) return false;
    // 19 digits may exceed int64_t; the magnitude is kept unsigned.
    uint64_t magnitude = 0;
    for (size_t i = 0; i < digits; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        magnitude = magnitude * 10 + static_cast<uint64_t>(text[i] - '0');
    }
    if (negative) {
        if (min >= 0 || magnitude > static_cast<uint64_t>(-(min + 1)) + 1) return false;
        value = magnitude == 0 ? 0 : -static_cast<int64_t>(magnitude - 1) - 1;
        return true;
    }
    if (max < 0 || magnitude > static_cast<uint64_t>(max)) return false;
    value = static_cast<int64_t>(magnitude);
    return value >= min;
}

ElementReader ElementReader::Action(const TiXmlDocument& document, ReadState& state) {
    const TiXmlElement* action = document.FirstChildElement("Action");
    if (action == nullptr) state.Note("Action element not found");
    return ElementReader(action, "Action", state);
}

std::string ElementReader::ChildPath(const char* name) const { return path_ + "-" + name; }

ElementReader ElementReader::Child(const char* name) const {
    const TiXmlElement* child = element_ != nullptr ? element_->FirstChildElement(name) : nullptr;
    if (child == nullptr && element_ != nullptr) {
        state_->Note(ChildPath(name) + " element not found");
    }
    return ElementReader(child, ChildPath(name), *state_);
}

ElementReader ElementReader::Optional(const char* name) const {
    const TiXmlElement* child = element_ != nullptr ? element_->FirstChildElement(name) : nullptr;
    return ElementReader(child, ChildPath(name), *state_);
}

ElementReader ElementReader::NextSibling() const {
    const TiXmlElement* next =
        element_ != nullptr ? element_->NextSiblingElement(element_->Value()) : nullptr;
    return ElementReader(next, path_, *state_);
}

bool ElementReader::HasChild(const char* name) const {
    return element_ != nullptr && element_->FirstChildElement(name) != nullptr;
}

const TiXmlElement* ElementReader::NeedChild(const char* name) const {
    return Child(name).element_;
}

void ElementReader::Malformed(const char* name, const char* text) const {
    state_->Note(ChildPath(name) + " malformed: " + Quoted(text != nullptr ? text : ""));
}

void ElementReader::Text(const char* name, std::string& field) const {
    if (const TiXmlElement* child = NeedChild(name)) {
        const char* text = child->GetText();
        field = text != nullptr ? text : "";
    }
}

bool ElementReader::ReadInteger(const char* name, int64_t min, int64_t max, int64_t& value) const {
    const TiXmlElement* child = NeedChild(name);
    if (child == nullptr) return false;
    if (!ParseInteger(child->GetText(), min, max, value)) {
        Malformed(name, child->GetText());
        return false;
    }
    return true;
}

void ElementReader::Float(const char* name, float& field) const {
    const TiXmlElement* child = NeedChild(name);
    if (child == nullptr) return;
    const char* text = child->GetText();
    float value = 0;
    bool read = false;
    if (text != nullptr && *text != '\0') {
        std::istringstream stream(text);
        stream.imbue(std::locale::classic());
        stream >> value;
        read = !stream.fail() && stream.peek() == std::char_traits<char>::eof() &&
               std::isfinite(value);
    }
    if (read) {
        field = value;
    } else {
        Malformed(name, text);
    }
}

void ElementReader::Choice(const char* name, const char* one, const char* zero,
                           uint8_t& field) const {
    const TiXmlElement* child = NeedChild(name);
    if (child == nullptr) return;
    const char* text = child->GetText() != nullptr ? child->GetText() : "";
    if (std::strcmp(text, one) == 0) {
        field = 1;
    } else if (std::strcmp(text, zero) == 0) {
        field = 0;
    } else {
        Malformed(name, text);
    }
}

}  // namespace kerrow
