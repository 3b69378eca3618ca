// Typed reading of element texts and of the parts shared by every reply: the
// head elements, Method and the transfer's ClientId.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/Records.h"

class TiXmlDocument;
class TiXmlElement;

namespace kerrow {

// Replies nest six elements deep at most; a message that may nest deeper
// than this is refused unparsed, as TinyXML's recursion would exhaust the
// stack on thousands of levels.
constexpr int kMaxDocumentNesting = 64;

// Parses a received message as XML; false when TinyXML reports an error, or
// (with the document's error set) when the message may nest deeper than
// kMaxDocumentNesting. The text is parsed from a copy with zero bytes behind
// it: TinyXML reads a UTF-8 lead byte together with the bytes that should
// follow it, and so may step up to three bytes past the end of a text that
// stops inside a character.
bool ParseDocument(const char* message, size_t size, TiXmlDocument& document);

// The element's text; "" when the element is null or has no text.
std::string ElementText(const TiXmlElement* element);
// atol of the text; 0 when the element is null or has no text.
int32_t ElementLong(const TiXmlElement* element);
// atoi of the text; -1 when the element is null or has no text.
int32_t ElementInt(const TiXmlElement* element);

// Reads ContentLength, ContentType and Method at root level into head, in
// that order; an element without text reads 0. The first missing element is
// logged and gives -1, the fields before it keep their values.
int ParseEnvelopeHeader(const TiXmlDocument& document, ReplyHead& head);

// The Method number, or -1 (logged) when Method is missing.
int32_t ReadMethod(const TiXmlDocument& document);

// Action/ClientId, the server's number for a transfer; 0 (logged) when
// missing.
uint32_t ReadClientId(const TiXmlDocument& document);

}  // namespace kerrow
