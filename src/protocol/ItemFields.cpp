#include "protocol/ItemFields.h"

#include "log/Log.h"

namespace kerrow {

const TiXmlElement* FieldElement(const TiXmlElement* item, const char* name,
                                 const char* missingMessage) {
    const TiXmlElement* element = item->FirstChildElement(name);
    if (element == nullptr) KLOG_INFO << missingMessage;
    return element;
}

const TiXmlElement* FindPath(const TiXmlNode* from, std::initializer_list<const char*> path) {
    const TiXmlElement* element = nullptr;
    for (const char* name : path) {
        element = from != nullptr ? from->FirstChildElement(name) : nullptr;
        if (element == nullptr) return nullptr;
        from = element;
    }
    return element;
}

}  // namespace kerrow
