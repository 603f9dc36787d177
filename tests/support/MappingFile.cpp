#include "MappingFile.h"

#include "ResourceMapper.h"
#include "ResourceMapper/mapping/UriTable.h"

#include <fstream>
#include <stdexcept>

namespace support {

MappingFile::MappingFile() : mFormerPath(ResourceMapper::RmfPath)
{
    ForgetLoaded();
    ResourceMapper::RmfPath = Path();
}

MappingFile::~MappingFile()
{
    ForgetLoaded();
    ResourceMapper::RmfPath = mFormerPath;
}

void MappingFile::Write(const std::string& text) const
{
    std::ofstream file(Path(), std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + Path());
    }
}

void MappingFile::Remove() const
{
    std::filesystem::remove(Path());
}

void MappingFile::ForgetLoaded()
{
    ResourceMapper::RmfObj = Json::Value();
    ResourceMapper::RmfFileLoaded = false;
    URIObj = Json::Value();
}

} // namespace support
