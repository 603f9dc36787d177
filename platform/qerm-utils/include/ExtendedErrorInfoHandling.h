// Redfish extended error information (DSP0266, "Error responses"): collects the messages of one
// response and renders the error body from message registries.
//
// Registries are files in the standard MessageRegistry JSON format, found in one directory:
// "Base.1.18.json" for the standard messages and "Vexo.1.0.json" for the product's. They are read
// once, at the first use or at LoadRegistries(); a changed file takes effect in a new process.
//
// Texts may hold any bytes: what is not UTF-8 appears as U+FFFD. An argument of more than 256 bytes
// is cut, in the message's text and in its list of arguments: it ends at a character, with "...",
// and has at most 256 bytes with them. No operation throws; when memory is exhausted a message is
// left out, or the rendered body is empty.
//
// Threads: the registries are read once under a lock and only read afterwards; an object belongs to
// one thread at a time.
#ifndef EXTENDED_ERROR_INFO_HANDLING_H_
#define EXTENDED_ERROR_INFO_HANDLING_H_

#include <json/json.h>

#include <string>
#include <vector>

#define QERM_EXPORT __attribute__((visibility("default")))

class QERM_EXPORT ExtendedErrorInfoHandling
{
public:
    // Where the registry files are looked for; set before the first use. Initially
    // "/usr/share/cimgate/registries".
    static void SetRegistryDirectory(const std::string& directory);

    // Reads the registries now. Returns true when both were read; otherwise false with what is
    // wrong in problem (file and cause). A registry that cannot be read leaves its messages with
    // their id and arguments but a general text, so that an error is still an error response.
    static bool LoadRegistries(std::string& problem);

    // An empty message list.
    ExtendedErrorInfoHandling();
    ~ExtendedErrorInfoHandling();
    ExtendedErrorInfoHandling(const ExtendedErrorInfoHandling&) = delete;
    ExtendedErrorInfoHandling& operator=(const ExtendedErrorInfoHandling&) = delete;

    // Appends one message of the product registry, for example "SYS403". The first further string
    // is the related property (a JSON pointer such as "#/Name", empty for none); the others fill
    // the message's arguments %1, %2, ... in order. Missing arguments fill as empty texts, surplus
    // ones are dropped. A null pointer counts as an empty text. An id that the registry does not
    // have is reported with a general text and severity "Critical", an empty one as the base
    // registry's "GeneralError".
    void InsertMessageID(const char* id);
    void InsertMessageID(const char* id, const char* related);
    void InsertMessageID(const char* id, const char* related, const char* a1);
    void InsertMessageID(const char* id, const char* related, const char* a1, const char* a2);
    void InsertMessageID(const char* id, const char* related, const char* a1, const char* a2,
                         const char* a3);

    // The same for a message of the base registry, for example "ResourceMissingAtURI".
    void InsertBaseMessageID(const char* name, const char* related);
    void InsertBaseMessageID(const char* name, const char* related, const char* a1);
    void InsertBaseMessageID(const char* name, const char* related, const char* a1, const char* a2);
    void InsertBaseMessageID(const char* name, const char* related, const char* a1, const char* a2,
                             const char* a3);

    // The whole error body as compact JSON text, one line that ends in a newline:
    //   {"error": {"code": "Base.1.18.GeneralError", "message": "...",
    //              "@Message.ExtendedInfo": [{"@odata.type": "#Message.v1_1_1.Message",
    //                "MessageId": "Base.1.18.ResourceMissingAtURI", "Message": "...",
    //                "MessageArgs": ["..."], "Severity": "Critical", "MessageSeverity": "Critical",
    //                "Resolution": "...", "RelatedProperties": ["#/Name"]}]}}
    // "code" and "message" are those of the message when there is exactly one, else GeneralError's.
    // "RelatedProperties" stands only where one was given.
    void GetNewExtendedErrMsg(std::string& out) const;

    // Adds a success message to the "@Message.ExtendedInfo" array of body (made when missing): the
    // product message id, or the base registry's "Success" when id is null or empty. A body that is
    // null becomes an object, any other that is no object is left alone.
    void AppendSuccessExtendedJSON(Json::Value& body, const char* id);

    // The same with the base registry's "Created".
    void AppendCreatedExtendedJSON(Json::Value& body);

private:
    std::vector<Json::Value> mMessages;
};

#endif
