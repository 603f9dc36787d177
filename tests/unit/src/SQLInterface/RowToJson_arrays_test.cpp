#include "LibraryTest.h"

#include <sqlite3.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

using support::arrayCell;
using support::IsJson;
using support::json;
using support::kSeparator;
using support::loggedAnywhere;

// Elements as they stand in a cell.
std::string joined(const std::vector<std::string>& elements)
{
    std::string data;
    for (const std::string& element : elements) {
        data += (data.empty() ? "" : std::string(kSeparator)) + element;
    }
    return data;
}

class ArrayCell : public support::LibraryTest
{
protected:
    void SetUp() override { ASSERT_EQ(mCache.Open(), 0); }

    void mapProperty(const std::string& property)
    {
        mEntry["mappings"]["C"]["properties"]["P"] = json(property);
    }

    // The instance that one cell of the property P gives.
    Json::Value converted(const std::string& literal, bool isCollection = false)
    {
        sqlite3_stmt* handle = nullptr;
        EXPECT_EQ(mSql.GetPrepareStatement("select " + literal + " as P", &handle, ""), 0);
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(handle,
                                                                              sqlite3_finalize);
        Json::Value out;
        EXPECT_EQ(mSql.SQLToJson(handle, out, mEntry, "C", isCollection), 0);
        return out;
    }

    SQLInterface mSql;
    Json::Value mEntry;
};

TEST_F(ArrayCell, GivesItsStringsAndTheirCount)
{
    EXPECT_THAT(converted(arrayCell(1, 2, joined({"a", "b"}))),
                IsJson(R"({"P": ["a", "b"], "P@odata.count": 2})"));
    EXPECT_THAT(converted(arrayCell(1, 1, "42")), IsJson(R"({"P": ["42"], "P@odata.count": 1})"));
}

TEST_F(ArrayCell, CountIsThatOfTheHeader)
{
    EXPECT_THAT(converted(arrayCell(1, 3, joined({"a", "b"}))),
                IsJson(R"({"P": ["a", "b"], "P@odata.count": 3})"));
    EXPECT_THAT(converted(arrayCell(1, 1, joined({"a", "b"}))),
                IsJson(R"({"P": ["a"], "P@odata.count": 1})"));
    EXPECT_THAT(converted(arrayCell(1, std::numeric_limits<int32_t>::max(), joined({"a", "b"}))),
                IsJson(R"({"P": ["a", "b"], "P@odata.count": 2147483647})"));
}

TEST_F(ArrayCell, WithoutElementsIsEmpty)
{
    mapProperty(R"({"cim_type": "uint32"})");
    for (const int32_t type : {0, 1}) {
        EXPECT_THAT(converted(arrayCell(type, 0, "1")), IsJson(R"({"P": [], "P@odata.count": 0})"));
        EXPECT_THAT(converted(arrayCell(type, -3, "1")),
                    IsJson(R"({"P": [], "P@odata.count": -3})"));
        EXPECT_THAT(converted(arrayCell(type, std::numeric_limits<int32_t>::min(), "1")),
                    IsJson(R"({"P": [], "P@odata.count": -2147483648})"));
        EXPECT_THAT(converted(arrayCell(type, 2, "")), IsJson(R"({"P": [], "P@odata.count": 2})"));
    }
}

TEST_F(ArrayCell, EveryByteOfTheSeparatorSplits)
{
    EXPECT_THAT(converted(arrayCell(1, 5, "A#B"))["P"], IsJson(R"(["A", "B"])"));
    EXPECT_THAT(converted(arrayCell(1, 5,
                                    "A\xE2"
                                    "B\x96"
                                    "C\x91"
                                    "D"))["P"],
                IsJson(R"(["A", "B", "C", "D"])"));
}

TEST_F(ArrayCell, RunsOfSeparatorsGiveNoEmptyElements)
{
    EXPECT_THAT(converted(arrayCell(1, 5, joined({"", "a", "", "", "b", ""})))["P"],
                IsJson(R"(["a", "b"])"));
}

TEST_F(ArrayCell, DataEndsAtItsNul)
{
    EXPECT_THAT(converted(arrayCell(1, 5, std::string("a#b\0#c", 6)))["P"],
                IsJson(R"(["a", "b"])"));
}

TEST_F(ArrayCell, StringsAreReplacedByTheValueMap)
{
    mapProperty(R"({"value_mapping": {"1": "One", "2": 2}})");
    EXPECT_THAT(converted(arrayCell(1, 3, joined({"1", "2", "3"})))["P"],
                IsJson(R"(["One", 2, "3"])"));
}

TEST_F(ArrayCell, OtherElementsAreConvertedByTheirCimType)
{
    mapProperty(R"({"cim_type": "uint32"})");
    EXPECT_THAT(converted(arrayCell(0, 3, joined({"1", "22", "333"}))),
                IsJson(R"({"P": [1, 22, 333], "P@odata.count": 3})"));
    mapProperty(R"({"cim_type": "sint64"})");
    EXPECT_THAT(converted(arrayCell(2, 2, joined({"-5000000000", "0"})))["P"],
                IsJson("[-5000000000, 0]"));
    mapProperty(R"({"cim_type": "boolean"})");
    EXPECT_THAT(converted(arrayCell(-1, 3, joined({"1", "0", "1"})))["P"],
                IsJson("[true, false, true]"));
    EXPECT_TRUE(loggedAnywhere("Other data type: CMPI_Integer or Bool or datetime"));
}

TEST_F(ArrayCell, MissingNumbersAreSkipped)
{
    mapProperty(R"({"cim_type": "uint32"})");
    EXPECT_THAT(converted(arrayCell(0, 3, "7")), IsJson(R"({"P": [7], "P@odata.count": 3})"));
    EXPECT_THAT(converted(arrayCell(0, 1, "7#8")), IsJson(R"({"P": [7], "P@odata.count": 1})"));
}

TEST_F(ArrayCell, NumbersAreReplacedByTheValueMap)
{
    mapProperty(R"({"value_mapping": {"1": "One"}})");
    EXPECT_THAT(converted(arrayCell(0, 2, joined({"1", "2"})))["P"], IsJson(R"(["One", "2"])"));
}

TEST_F(ArrayCell, NumbersAreConvertedUpToACountOf1023)
{
    std::string data;
    for (int element = 0; element < 2000; ++element) {
        data += std::to_string(element) + "#";
    }
    mapProperty(R"({"cim_type": "uint32"})");
    EXPECT_EQ(converted(arrayCell(0, 1023, data))["P"].size(), 1023U);
    EXPECT_THAT(converted(arrayCell(0, 1024, data)), IsJson(R"({"P": [], "P@odata.count": 1024})"));
    EXPECT_EQ(converted(arrayCell(1, 1024, data))["P"].size(), 1024U);
    mapProperty(R"({"cim_type": "uint32", "value_mapping": {"1": "One"}})");
    EXPECT_EQ(converted(arrayCell(0, 1024, data))["P"].size(), 1024U);
}

TEST_F(ArrayCell, AliasNamesTheCountToo)
{
    mapProperty(R"({"alias": "Colours"})");
    EXPECT_THAT(converted(arrayCell(1, 1, "red"), true),
                IsJson(R"({"Members": [{"Colours": ["red"], "Colours@odata.count": 1}]})"));
    EXPECT_THAT(converted(arrayCell(1, 1, "red")), IsJson(R"({"P": ["red"], "P@odata.count": 1})"));
}

TEST_F(ArrayCell, TruncatedCellHasNoElements)
{
    const std::string whole("\1\0\0\0\2\0\0\0", 8);
    for (size_t size = 0; size < whole.size(); ++size) {
        EXPECT_TRUE(converted(support::rawCell(whole.substr(0, size)))["P"].empty()) << size;
    }
    EXPECT_THAT(converted(support::rawCell(whole)), IsJson(R"({"P": [], "P@odata.count": 2})"));
}

TEST_F(ArrayCell, ContentIsLogged)
{
    (void)converted(arrayCell(1, 2, "a#b"));
    EXPECT_TRUE(loggedAnywhere("Blob size is :11"));
    EXPECT_TRUE(loggedAnywhere("Blob data type:1 and count:2"));
    EXPECT_TRUE(loggedAnywhere("Blob data :a#b"));
}

TEST_F(ArrayCell, NumbersWithoutCimTypeAbort)
{
    EXPECT_ABORTS_AFTER("ret == true", "Empty type is found in RMF for C",
                        (void)converted(arrayCell(0, 1, "7")));
}

// A cell as the conversion hands it around: header and NUL-terminated data.
class Blob
{
public:
    Blob(int32_t count, const std::string& data)
        : mMemory((offsetof(__blobData, data) + data.size()) / sizeof(__blobData) + 1)
    {
        mMemory.front().type = 1;
        mMemory.front().count = count;
        std::memcpy(bytes(), data.c_str(), data.size() + 1);
    }

    __blobData* Get() { return mMemory.data(); }
    std::string Data() { return bytes(); }

private:
    char* bytes() { return reinterpret_cast<char*>(mMemory.data()) + offsetof(__blobData, data); }

    std::vector<__blobData> mMemory;
};

TEST_F(ArrayCell, ElementsAreAppended)
{
    Blob blob(2, "1#2");
    Json::Value array = json(R"(["before"])");
    mSql.BlobValueUpdate(blob.Get(), array, json(R"({"2": "Two"})"));
    EXPECT_THAT(array, IsJson(R"(["before", "1", "Two"])"));
}

TEST_F(ArrayCell, CountBelowOneDoesNothing)
{
    for (const int32_t count : {0, -1}) {
        Blob blob(count, "1#2");
        Json::Value array;
        mSql.BlobValueUpdate(blob.Get(), array, Json::Value());
        EXPECT_TRUE(array.isNull());
        EXPECT_EQ(blob.Data(), "1#2");
    }
}

} // namespace
