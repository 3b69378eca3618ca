// The scan follows TinyXML's reading of markup: an element starts at '<'
// followed by a letter, '_' or any byte from 0x7F; a closing tag "</" inside
// an element ends it (or fails the parse); a comment runs to "-->", a section
// to "]]>", an XML declaration to its first '>' outside its quoted values,
// and any other "<!", "<?" or stray '<' to the first '>'. In UTF-8 TinyXML
// reads a byte of 0xC2 or above together with up to three bytes behind it,
// inside text, comments and attribute values, so a '<', quote or terminator
// right behind such a byte may be read as part of a character.
#include "protocol/Nesting.h"

#include <cctype>
#include <cstring>

namespace kerrow {
namespace {

constexpr size_t kNone = static_cast<size_t>(-1);

bool High(char c) { return static_cast<unsigned char>(c) >= 0x80; }
bool ElementStart(char c) {
    const unsigned char byte = static_cast<unsigned char>(c);
    return byte >= 0x7F || std::isalpha(byte) || c == '_';
}
bool NameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool NameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.';
}
// A character of a quoted declaration value that cannot end a value or the
// declaration, nor hide the start of another value.
bool DeclarationValueChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '_' || c == '-';
}

// No byte of 0x80 or above among the three before text[at].
bool AsciiBefore(const char* text, size_t at) {
    for (size_t back = 1; back <= 3 && back <= at; ++back) {
        if (High(text[at - back])) return false;
    }
    return true;
}

bool StartsWith(const char* text, size_t size, size_t at, const char* prefix, bool anyCase) {
    const size_t length = std::strlen(prefix);
    if (size - at < length) return false;
    for (size_t k = 0; k < length; ++k) {
        const char c = text[at + k];
        if (anyCase ? std::tolower(static_cast<unsigned char>(c)) != prefix[k] : c != prefix[k]) {
            return false;
        }
    }
    return true;
}

// The index of the first occurrence of what at or after from; kNone if none.
size_t Find(const char* text, size_t size, size_t from, const char* what) {
    for (size_t at = from; at < size; ++at) {
        if (StartsWith(text, size, at, what, false)) return at;
    }
    return kNone;
}

// The '>' of the plain tag whose '<' is at text[at]; kNone when the tag is
// not plain.
size_t PlainTagEnd(const char* text, size_t size, size_t at, bool& closing, bool& empty) {
    ++at;
    closing = at < size && text[at] == '/';
    if (closing) ++at;
    if (at >= size || !NameStart(text[at])) return kNone;
    while (at < size && NameChar(text[at])) ++at;
    while (at < size && text[at] == ' ') ++at;
    empty = !closing && at < size && text[at] == '/';
    if (empty) ++at;
    return at < size && text[at] == '>' ? at : kNone;
}

// The last index of the markup at text[at] (not a plain tag), when TinyXML
// certainly reads it to there; kNone when it may read it otherwise.
size_t MarkupEnd(const char* text, size_t size, size_t at) {
    if (at + 1 >= size) return kNone;
    size_t end = kNone;
    if (StartsWith(text, size, at, "<?xml", true)) {
        // Quoted values of plain characters only: no '>', quote or blank in
        // them, so that TinyXML pairs the quotes as they stand.
        char quote = 0;
        for (size_t k = at + 2; k < size && end == kNone; ++k) {
            const char c = text[k];
            if (High(c)) return kNone;
            if (quote != 0) {
                if (c == quote) {
                    quote = 0;
                } else if (!DeclarationValueChar(c)) {
                    return kNone;
                }
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                end = k;
            }
        }
        return end;
    }
    if (StartsWith(text, size, at, "<!--", false)) {
        end = Find(text, size, at + 4, "-->");
        if (end == kNone) return kNone;
        for (size_t k = at + 4; k < end; ++k) {
            if (High(text[k])) return kNone;
        }
        return end + 2;
    }
    if (StartsWith(text, size, at, "<![CDATA[", false)) {
        end = Find(text, size, at + 9, "]]>");
        return end == kNone ? kNone : end + 2;
    }
    if (text[at + 1] != '/' && ElementStart(text[at + 1])) {
        // An element with attributes: it ends at the first '>' outside its
        // quoted values.
        char quote = 0;
        for (size_t k = at + 1; k < size; ++k) {
            const char c = text[k];
            if (quote != 0) {
                if (c == quote) {
                    quote = 0;
                } else if (High(c)) {
                    return kNone;
                }
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                return k;
            }
        }
        return kNone;
    }
    // A closing tag that is not plain (TinyXML reads it to its '>' or fails),
    // or an unknown "<!", "<?" or '<' (to the first '>').
    end = Find(text, size, at + 1, ">");
    return end;
}

}  // namespace

Nesting ScanNesting(const char* text, size_t size) {
    Nesting result;
    if (text == nullptr) return result;
    int depth = 0;
    auto open = [&] {
        if (++depth > result.deepest) result.deepest = depth;
    };

    size_t at = 0;
    bool followed = true;  // the scan reads the markup as TinyXML does
    for (; at < size && followed; ++at) {
        if (text[at] != '<') continue;
        const bool certain = AsciiBefore(text, at);
        bool closing = false;
        bool empty = false;
        size_t end = PlainTagEnd(text, size, at, closing, empty);
        if (end != kNone) {
            // Plain tags hold no '<': whether or not TinyXML reads this '<'
            // as part of a character, both readings meet again at the next.
            if (!closing && !empty) {
                open();
            } else if (closing && certain && depth > 0) {
                --depth;
            }
            at = end;
            continue;
        }
        result.plain = false;
        end = certain ? MarkupEnd(text, size, at) : kNone;
        if (end == kNone) {
            followed = false;
            break;
        }
        if (text[at + 1] != '/' && ElementStart(text[at + 1]) && text[end - 1] != '/') open();
        at = end;
    }
    // From markup that TinyXML may read otherwise on, every possible start
    // of an element counts and no closing tag does.
    for (; at + 1 < size && !followed; ++at) {
        if (text[at] == '<' && ElementStart(text[at + 1])) open();
    }
    return result;
}

}  // namespace kerrow
