#include "protocol/Elements.h"

#include <tinyxml.h>

#include "log/Log.h"
#include "protocol/Nesting.h"
#include "protocol/Numbers.h"

namespace kerrow {
namespace {

constexpr size_t kParsePadding = 4;

// A head element's number: atoi of its text, 0 when it has none.
int32_t HeadNumber(const TiXmlElement* element) { return ReadLong32(element->GetText()); }

}  // namespace

bool ParseDocument(const char* message, size_t size, TiXmlDocument& document) {
    if (ScanNesting(message, size).deepest > kMaxDocumentNesting) {
        document.SetError(TiXmlBase::TIXML_ERROR_PARSING_ELEMENT, nullptr, nullptr,
                          TIXML_ENCODING_UNKNOWN);
        return false;
    }
    std::string text;
    if (message != nullptr) text.assign(message, size);
    text.append(kParsePadding, '\0');
    document.Parse(text.c_str());
    return !document.Error();
}

std::string ElementText(const TiXmlElement* element) {
    if (element == nullptr || element->GetText() == nullptr) return std::string();
    return element->GetText();
}

int32_t ElementLong(const TiXmlElement* element) {
    if (element == nullptr || element->GetText() == nullptr) return 0;
    return ReadLong32(element->GetText());
}

int32_t ElementInt(const TiXmlElement* element) {
    if (element == nullptr || element->GetText() == nullptr) return -1;
    return ReadLong32(element->GetText());
}

int ParseEnvelopeHeader(const TiXmlDocument& document, ReplyHead& head) {
    const TiXmlElement* element = document.FirstChildElement("ContentLength");
    if (element == nullptr) {
        KLOG_INFO << "xml file ContentLength element not found!";
        return -1;
    }
    head.ContentLength = HeadNumber(element);
    element = document.FirstChildElement("ContentType");
    if (element == nullptr) {
        KLOG_INFO << "xml file ContentType element not found!";
        return -1;
    }
    head.ContentType = HeadNumber(element);
    element = document.FirstChildElement("Method");
    if (element == nullptr) {
        KLOG_INFO << "xml file Method element not found!";
        return -1;
    }
    head.Method = static_cast<uint16_t>(HeadNumber(element));
    return 0;
}

int32_t ReadMethod(const TiXmlDocument& document) {
    const TiXmlElement* method = document.FirstChildElement("Method");
    if (method == nullptr) {
        KLOG_INFO << "xml file Method element not found!";
        return -1;
    }
    return ElementInt(method);
}

uint32_t ReadClientId(const TiXmlDocument& document) {
    const TiXmlElement* action = document.FirstChildElement("Action");
    const TiXmlElement* clientId =
        action != nullptr ? action->FirstChildElement("ClientId") : nullptr;
    if (clientId == nullptr) {
        KLOG_INFO << "xml file Action-ClientId element not found!";
        return 0;
    }
    return static_cast<uint32_t>(ElementLong(clientId));
}

}  // namespace kerrow
