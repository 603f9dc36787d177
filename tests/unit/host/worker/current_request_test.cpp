// What a worker knows of its request.
#include "host_limits.h"
#include "worker/current_request.h"
#include "worker/work_note.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace {

class CurrentRequestTest : public testing::Test
{
protected:
    CurrentRequestTest() { mRequest.showIn(&mNote); }

    host::WorkNote mNote;
    host::CurrentRequest mRequest;
};

TEST_F(CurrentRequestTest, NoteSaysWhatIsAskedFor)
{
    EXPECT_EQ(mNote.text(), "");
    mRequest.begin(host::ReadRequest{"/a?b"});
    EXPECT_EQ(mNote.text(), "GET /a?b");
    mRequest.begin(host::ActionRequest{"/a", "{}"});
    EXPECT_EQ(mNote.text(), "POST /a");
    mRequest.begin(host::EmbeddedDataRequest{"C", "1"});
    EXPECT_EQ(mNote.text(), "OEM C 1");
    mRequest.end();
    EXPECT_EQ(mNote.text(), "");
}

TEST_F(CurrentRequestTest, NoteSaysWhomToBlameAndTheLibrarysLastErrors)
{
    mRequest.begin(host::ReadRequest{"/a"});
    mRequest.concerns("VexoA", "XCIM_A");
    EXPECT_EQ(mNote.text(), "GET /a (entry VexoA, class XCIM_A)");
    for (const char* error : {"one", "two", "three"}) {
        mRequest.libraryError(std::string("[A.cpp.1 f] ") + error);
    }
    EXPECT_EQ(mNote.text(), "GET /a (entry VexoA, class XCIM_A): two; three");
}

TEST_F(CurrentRequestTest, RemarkBlamesWhatItWasAboutWhenItFailed)
{
    mRequest.begin(host::ComposeRequest{{"/a"}});
    mRequest.concerns("VexoA", "XCIM_A");
    mRequest.fail("away");
    mRequest.concerns("VexoB", "XCIM_B");
    EXPECT_EQ(mRequest.remark(), "away (entry VexoA, class XCIM_A)");
    EXPECT_EQ(mNote.text(), "GET /a (entry VexoB, class XCIM_B): away"); // what it is at
    mRequest.fail("gone");
    EXPECT_EQ(mRequest.remark(), "gone (entry VexoB, class XCIM_B)");
}

TEST_F(CurrentRequestTest, RemarkSaysWhyAndWhomToBlame)
{
    mRequest.begin(host::ReadRequest{"/a"});
    EXPECT_FALSE(mRequest.hasFailed());
    EXPECT_EQ(mRequest.remark(), "no reason is known");
    mRequest.libraryError("[A.cpp.1 f] broken");
    EXPECT_FALSE(mRequest.hasFailed());
    EXPECT_EQ(mRequest.remark(), "broken");
    mRequest.fail("away");
    EXPECT_TRUE(mRequest.hasFailed());
    mRequest.concerns("VexoA", "");
    EXPECT_EQ(mRequest.remark(), "away; broken (entry VexoA)");
    mRequest.begin(host::ReadRequest{"/b"});
    EXPECT_FALSE(mRequest.hasFailed());
    EXPECT_EQ(mRequest.remark(), "no reason is known");
}

TEST_F(CurrentRequestTest, ErrorsBetweenRequestsAreNobodys)
{
    mRequest.libraryError("[A.cpp.1 f] broken");
    mRequest.begin(host::ReadRequest{"/b"});
    EXPECT_EQ(mRequest.remark(), "no reason is known");
}

TEST_F(CurrentRequestTest, RemarkAndNoteAreLimited)
{
    mRequest.begin(host::ReadRequest{std::string(10'000, 'x')});
    mRequest.fail(std::string(10'000, 'x'));
    EXPECT_EQ(mRequest.remark().size(), host::kMaxRemarkBytes);
    EXPECT_GT(mNote.text().size(), 1000U);
    EXPECT_LT(mNote.text().size(), 10'000U);
}

TEST(WorkNote, IsReadInAnotherProcess)
{
    host::WorkNote note;
    const pid_t child = fork();
    if (child == 0) {
        note.write("left behind");
        _exit(0);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(note.text(), "left behind");
}

} // namespace
