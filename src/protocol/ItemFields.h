// Field readers of the list replies: each takes one child of an item element
// into one field of the item record. A missing child is logged with its
// message and leaves the field at its default; it never fails the reply.
// Internal to the protocol folder.
#pragma once

#include <tinyxml.h>

#include <initializer_list>
#include <string>

#include "protocol/Elements.h"

namespace kerrow {

// The child, or null after logging missingMessage.
const TiXmlElement* FieldElement(const TiXmlElement* item, const char* name,
                                 const char* missingMessage);

inline void ReadTextField(const TiXmlElement* item, const char* name, const char* missing,
                          std::string& field) {
    if (const TiXmlElement* element = FieldElement(item, name, missing)) {
        field = ElementText(element);
    }
}

// Stored in the field's width, as the number is truncated by an assignment.
template <class T>
void ReadIntField(const TiXmlElement* item, const char* name, const char* missing, T& field) {
    if (const TiXmlElement* element = FieldElement(item, name, missing)) {
        field = static_cast<T>(ElementInt(element));
    }
}

template <class T>
void ReadLongField(const TiXmlElement* item, const char* name, const char* missing, T& field) {
    if (const TiXmlElement* element = FieldElement(item, name, missing)) {
        field = static_cast<T>(ElementLong(element));
    }
}

// Follows a path of first child elements; null when a step is missing.
const TiXmlElement* FindPath(const TiXmlNode* from, std::initializer_list<const char*> path);

}  // namespace kerrow
