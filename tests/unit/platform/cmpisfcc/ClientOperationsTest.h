// A client of a canned server, for what its operations send and what becomes of the answers.
#ifndef TESTS_CLIENT_OPERATIONS_TEST_H_
#define TESTS_CLIENT_OPERATIONS_TEST_H_

#include "CannedServer.h"
#include "Owner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

class ClientOperations : public testing::Test
{
protected:
    ClientOperations()
        : mClient(own(
              cmciConnect("127.0.0.1", "http", mServer.port().c_str(), "root", nullptr, nullptr))),
          mPath(own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr)))
    {
        (void)CMAddKey(mPath.get(), "Id", const_cast<char*>("fan 1"), CMPI_chars);
    }

    std::string request() { return mServer.requests().at(0); }
    // The parameters of the request, in their order.
    std::string parameters()
    {
        std::string names;
        const std::string text = request();
        const std::string start = "<IPARAMVALUE NAME=\"";
        for (std::size_t at = text.find(start); at != std::string::npos;
             at = text.find(start, at + 1)) {
            const std::size_t begin = at + start.size();
            names += text.substr(begin, text.find('"', begin) - begin) + " ";
        }
        return names;
    }
    CMCIClientFT* ft() { return mClient->ft; }

    CannedServer mServer;
    Owner<CMCIClient> mClient;
    Owner<CMPIObjectPath> mPath;
    Status mStatus;
};

#endif
