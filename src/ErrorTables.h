// How result codes and product message ids are reported: HTTP status and messages.
#ifndef ERROR_TABLES_H_
#define ERROR_TABLES_H_

#include <string>
#include <vector>

class ExtendedErrorInfoHandling;

namespace cimgate {

constexpr unsigned int kInternalServerError = 500; // HTTP

struct GenericErrorMessage
{
    unsigned int code; // _ResourceMapperError
    unsigned int httpStatus;
    const char* messageId;   // product registry; null for none
    const char* baseMessage; // base registry; null for none
};

struct BaseRegistryErrorCode
{
    unsigned int httpStatus;
    const char* messageId;
    const char* baseMessage; // null for none
};

// The row of a result code; null when it has none.
const GenericErrorMessage* findGenericErrorMessage(unsigned int code);

// The row of a product message id; null when it has none.
const BaseRegistryErrorCode* findBaseRegistryErrorCode(const char* messageId);

// Appends a product message and a base message (each null for none) with the same arguments, of
// which a message takes three.
void insertMessages(ExtendedErrorInfoHandling& info, const char* messageId, const char* baseMessage,
                    const std::vector<std::string>& args);

} // namespace cimgate

#endif
