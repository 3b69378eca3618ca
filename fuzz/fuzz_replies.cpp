// Fuzzes every reader of a parsed reply with the same document: the result
// and progress readers, the head readers and the three list readers. The
// readers must never crash, never read past the document and never produce
// more items than the document holds.
#include <tinyxml.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "protocol/Elements.h"
#include "protocol/FileMessages.h"
#include "protocol/PolicyMessages.h"
#include "protocol/Replies.h"

namespace {

// Elements anywhere in the document with the given name.
size_t CountElements(const TiXmlNode* node, const char* name) {
    size_t count = 0;
    for (const TiXmlElement* child = node->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (child->ValueStr() == name) ++count;
        count += CountElements(child, name);
    }
    return count;
}

void ReadElements(const TiXmlNode* node) {
    for (const TiXmlElement* child = node->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        kerrow::ElementText(child);
        kerrow::ElementLong(child);
        kerrow::ElementInt(child);
        ReadElements(child);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    TiXmlDocument document;
    if (!kerrow::ParseDocument(reinterpret_cast<const char*>(bytes), size, document)) return 0;

    int32_t method = 0, code = 0, position = 0;
    uint32_t clientId = 0;
    kerrow::ParseControlResponse(document, method, code);
    kerrow::ParseProgress(document, clientId, position);
    kerrow::ReadMethod(document);
    kerrow::ReadClientId(document);
    kerrow::ReplyHead head;
    kerrow::ParseEnvelopeHeader(document, head);
    ReadElements(&document);

    kerrow::ListReply<kerrow::FileEntry> files;
    kerrow::ParseFileListReply(document, files);
    if (files.Items.size() > CountElements(&document, "File")) std::abort();

    kerrow::ListReply<kerrow::TaskRecord> tasks;
    kerrow::ParseTaskQueryReply(document, tasks);
    const size_t taskElements = CountElements(&document, "Task");
    if (tasks.Items.size() > taskElements) std::abort();

    kerrow::ListReply<kerrow::PolicyEntry> policies;
    kerrow::ParsePolicyQueryReply(document, policies);
    if (policies.Items.size() > CountElements(&document, "Policy")) std::abort();
    size_t policyTasks = 0;
    for (const kerrow::PolicyEntry& policy : policies.Items) policyTasks += policy.tasks.size();
    if (policyTasks > taskElements) std::abort();
    return 0;
}
