// The summary of the mapping on its way from the spawner to the front.
#ifndef HOST_SPAWNER_SUMMARY_FILE_H_
#define HOST_SPAWNER_SUMMARY_FILE_H_

#include "wire/mapping_summary.h"

#include <json/json.h>
#include <service/file_descriptor.h>

namespace host {

// What the front is told of a mapping file.
MappingSummary summaryOf(const Json::Value& file);

// A file with the summary; not open when there is no memory for it.
service::FileDescriptor writeSummary(const MappingSummary& summary);

// Reads such a file from its beginning.
bool readSummary(const service::FileDescriptor& file, MappingSummary& summary);

} // namespace host

#endif
