#include "protocol/FileMessages.h"

#include "log/Log.h"
#include "protocol/Elements.h"
#include "protocol/ItemFields.h"
#include "protocol/MessageTree.h"
#include "protocol/Methods.h"

namespace kerrow {
namespace {

// Modify/FileID and Modify/RecordType; returns Modify.
TiXmlElement* AddFileModify(ControlMessage& message, const FileRecord& file, ValueText& value) {
    TiXmlElement* modify = AddElement(message.Action(), "Modify");
    AddText(modify, "FileID", value.Unsigned(file.fileId));
    AddText(modify, "RecordType", value.Signed(file.recordType));
    return modify;
}

void ReadFileEntry(const TiXmlElement* e, FileEntry& f) {
    ReadLongField(e, "FileID", "xml file Action-QueryResponse-Files-File-FileID element not found!",
                  f.fileId);
    ReadTextField(e, "CameraGUID",
                  "xml file Action-QueryResponse-Files-File-CameraID element not found!",
                  f.cameraGuid);
    ReadTextField(e, "AlarmType",
                  "xml file Action-QueryResponse-Files-File-AlarmType element not found!",
                  f.alarmType);
    ReadTextField(e, "AlarmDatetime",
                  "xml file Action-QueryResponse-Files-File-AlarmDatetime element not found!",
                  f.alarmDatetime);
    ReadIntField(e, "RecordType",
                 "xml file Action-QueryResponse-Files-File-RecordType element not found!",
                 f.recordType);
    ReadLongField(e, "FileSize",
                  "xml file Action-QueryResponse-Files-File-FileSize element not found!",
                  f.fileSize);
    ReadTextField(e, "StartTime",
                  "xml file Action-QueryResponse-Files-File-StartTime element not found!",
                  f.startTime);
    ReadTextField(e, "EndTime",
                  "xml file Action-QueryResponse-Files-File-EndTime element not found!", f.endTime);
    ReadIntField(e, "FileStatus",
                 "xml file Action-QueryResponse-Files-File-FileStatus element not found!",
                 f.fileStatus);
    ReadIntField(e, "FilePermission",
                 "xml file Action-QueryResponse-Files-File-FilePermission element not found!",
                 f.filePermission);
}

}  // namespace

void BuildFileListRequest(const FileQuery& query, std::string& out) {
    ControlMessage message(kMethodFileList);
    ValueText value;
    TiXmlElement* condition = AddElement(AddElement(message.Action(), "Query"), "Condition");
    AddText(condition, "CameraGUID", query.cameraGuid);
    AddText(condition, "RecordType", value.Signed(query.recordType));
    AddText(condition, "AlarmType", value.Signed(query.recordType));
    AddText(condition, "StartTime", query.startTime);
    AddText(condition, "EndTime", query.endTime);
    message.Print(out);
}

void BuildFileModifyRequest(const FileRecord& file, std::string& out) {
    ControlMessage message(file.method);
    ValueText value;
    AddFileModify(message, file, value);
    message.Print(out);
}

void BuildFilePermissionRequest(const FileRecord& file, std::string& out) {
    ControlMessage message(kMethodFilePermission);
    ValueText value;
    TiXmlElement* modify = AddFileModify(message, file, value);
    // Spelled so on the wire; the list reply spells FilePermission.
    AddText(modify, "FilePermision", value.Signed(static_cast<int16_t>(file.filePermission)));
    message.Print(out);
}

int ParseFileListReply(const TiXmlDocument& document, ListReply<FileEntry>& reply) {
    if (ParseEnvelopeHeader(document, reply) != 0) return -1;
    reply.TotalResult = 0;
    const TiXmlElement* response = FindPath(&document, {"Action", "QueryResponse"});
    const TiXmlElement* total =
        response != nullptr ? response->FirstChildElement("TotalResult") : nullptr;
    if (total == nullptr) {
        KLOG_INFO << "xml file Action-QueryResponse-TotalResult element not found!";
        return -1;
    }
    reply.TotalResult = ElementLong(total);
    if (reply.TotalResult <= 0) return 0;
    const TiXmlElement* file = FindPath(response, {"Files", "File"});
    for (int32_t i = 0; i < reply.TotalResult && file != nullptr; ++i) {
        reply.Items.emplace_back();
        ReadFileEntry(file, reply.Items.back());
        file = file->NextSiblingElement("File");
    }
    return 0;
}

}  // namespace kerrow
