#include "protocol/Replies.h"

#include <tinyxml.h>

#include "log/Log.h"
#include "protocol/Elements.h"

namespace kerrow {

int ParseControlResponse(const TiXmlDocument& document, int32_t& method, int32_t& code) {
    method = 0;
    code = 0;
    const TiXmlElement* methodElement = document.FirstChildElement("Method");
    if (methodElement == nullptr) {
        KLOG_INFO << "xml file Method element not found!";
        return -1;
    }
    method = ElementInt(methodElement);
    const TiXmlElement* action = document.FirstChildElement("Action");
    if (action == nullptr) {
        KLOG_INFO << "xml file Action element not found!";
        return -1;
    }
    // ModifyResponse is only looked at when ControlResponse is absent.
    if (const TiXmlElement* response = action->FirstChildElement("ControlResponse")) {
        const TiXmlElement* codeElement = response->FirstChildElement("Code");
        if (codeElement == nullptr) {
            KLOG_INFO << "xml file Action-ControlResponse-Code element not found!";
            return -1;
        }
        code = ElementInt(codeElement);
        return 0;
    }
    const TiXmlElement* response = action->FirstChildElement("ModifyResponse");
    if (response == nullptr) {
        KLOG_INFO << "xml file Action-ControlResponse and Action-ModifyResponse element not found!";
        return -1;
    }
    const TiXmlElement* codeElement = response->FirstChildElement("Code");
    if (codeElement == nullptr) {
        KLOG_INFO << "xml file Action-ModifyResponse-Code element not found!";
        return -1;
    }
    code = ElementInt(codeElement);
    return 0;
}

int ParseProgress(const TiXmlDocument& document, uint32_t& clientId, int32_t& position) {
    const TiXmlElement* action = document.FirstChildElement("Action");
    if (action == nullptr) {
        KLOG_INFO << "xml file Action element not found!";
        return -1;
    }
    if (const TiXmlElement* element = action->FirstChildElement("ClientId")) {
        clientId = static_cast<uint32_t>(ElementLong(element));
    } else {
        KLOG_INFO << "xml file Action-ClientId element not found!";
    }
    if (const TiXmlElement* element = action->FirstChildElement("Position")) {
        position = ElementInt(element);
    } else {
        KLOG_INFO << "xml file Action-Positon element not found!";
    }
    return 0;
}

}  // namespace kerrow
