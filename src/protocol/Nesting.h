// How deep TinyXML would nest the elements of a text, found before parsing
// it. TinyXML parses, prints and frees a document recursively, one call per
// level, so a message nesting thousands of elements exhausts the stack; both
// sides of the protocol refuse such a message unparsed.
#pragma once

#include <cstddef>

namespace kerrow {

struct Nesting {
    // Never below the deepest nesting that TinyXML reaches parsing the text;
    // exact for plain markup.
    int deepest = 0;
    // Every '<' starts a tag <Name>, </Name> or <Name /> (blanks allowed
    // before the '>' and the '/'): no declaration, comment, section,
    // instruction or attribute.
    bool plain = true;
};

// Scans the text once. Every '<' that TinyXML may take for the start of an
// element counts as one level. A closing tag counts only where it certainly
// closes one: not inside a comment, section, instruction or attribute value,
// and not behind a byte of 0x80 or above, which TinyXML may read together with
// the '<' as one character. Past markup whose extent TinyXML may judge
// otherwise, no closing tag counts any more.
Nesting ScanNesting(const char* text, size_t size);

}  // namespace kerrow
