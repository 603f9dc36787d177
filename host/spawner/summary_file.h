// The summary of the mapping on its way from the spawner to the front.
#ifndef HOST_SPAWNER_SUMMARY_FILE_H_
#define HOST_SPAWNER_SUMMARY_FILE_H_

#include "service_file/service_file.h"
#include "wire/mapping_summary.h"

#include <json/json.h>
#include <service/file_descriptor.h>

namespace host {

// What the front is told of a mapping file.
MappingSummary summaryOf(const Json::Value& file);

// Adds what a service file declares, but for constant resources, which are documents.
void addServiceFile(MappingSummary& summary, const service_file::ServiceFile& file);

// A file with the summary; not open when there is no memory for it.
service::FileDescriptor writeSummary(const MappingSummary& summary);

// Reads such a file from its beginning.
bool readSummary(const service::FileDescriptor& file, MappingSummary& summary);

} // namespace host

#endif
