// Which instances a query selects.
#include "SampleModel.h"
#include "query_filter.h"

#include <gtest/gtest.h>

namespace {

using cimxml::Type;
using sample::cls;
using sample::instance;
using sample::key;
using sample::property;

class QueryFilterTest : public testing::Test
{
protected:
    QueryFilterTest()
    {
        cimxml::Property list;
        list.name = "List";
        list.value = cimxml::Value::null(Type::String, true);
        sample::declare(
            mNameSpace,
            {cls("T", "",
                 {key("Id", Type::String), property("U", Type::Uint8), property("S", Type::Sint64),
                  property("R", Type::Real32), property("B", Type::Boolean),
                  property("D", Type::DateTime), property("Text", Type::String), list,
                  property("Ref", Type::Reference)})});
        add({{"Id", "a"},
             {"U", "1"},
             {"S", "-5"},
             {"R", "1.5"},
             {"B", "TRUE"},
             {"Text", "Fan1"},
             {"D", "20240501120000.000000+120"},
             {"Ref", "T.Id=\"b\""}});
        add({{"Id", "b"},
             {"U", "200"},
             {"S", "5"},
             {"R", "-0.5"},
             {"B", "FALSE"},
             {"Text", "fan2"},
             {"D", "20240501110000.000000+000"}});
        add({{"Id", "c"}});
    }

    void add(const sample::Texts& values) { sample::create(mNameSpace, instance("T", values)); }

    // The ids of what is selected; or the problem.
    std::string select(const std::string& where,
                       cimomd::QueryLanguage language = cimomd::QueryLanguage::Cql)
    {
        cimomd::Query query;
        cimomd::QueryFilter filter;
        std::string problem;
        const cimomd::ClassEntry& entry = *mNameSpace.classes().find("T");
        if (!cimomd::readQuery("SELECT * FROM T WHERE " + where, language, query, problem) ||
            !filter.bind(query, entry, problem)) {
            return problem;
        }
        std::string ids;
        mNameSpace.forEach(entry, [&](const cimomd::StoredInstance& stored) {
            ids += filter.matches(stored.instance) ? sample::textOf(stored.instance, "Id") : "";
        });
        return ids;
    }

    cimomd::NameSpace mNameSpace{"root/xcim"};
};

TEST_F(QueryFilterTest, Numbers)
{
    EXPECT_EQ(select("U = 1"), "a");
    EXPECT_EQ(select("U <> 1"), "b");
    EXPECT_EQ(select("U > -1"), "ab");
    EXPECT_EQ(select("U >= 0xC8"), "b");
    EXPECT_EQ(select("U < 1.5"), "a");
    EXPECT_EQ(select("U = '200'"), "b");
    EXPECT_EQ(select("S <= -5"), "a");
    EXPECT_EQ(select("R = 1.5"), "a");
    EXPECT_EQ(select("U > 99999999999999999999"), "");
    EXPECT_EQ(select("S < U"), "ab");
}

TEST_F(QueryFilterTest, TextsAndTruthValues)
{
    EXPECT_EQ(select("Text = 'Fan1'"), "a");
    EXPECT_EQ(select("Text = 'fan1'"), "");
    EXPECT_EQ(select("Text > 'a'"), "b");
    EXPECT_EQ(select("B = TRUE"), "a");
    EXPECT_EQ(select("B = 'false'"), "b");
    EXPECT_EQ(select("Id = Text"), "");
}

TEST_F(QueryFilterTest, PointsInTimeWhateverTheirTimeZone)
{
    EXPECT_EQ(select("D = '20240501100000.000000+000'"), "a");
    EXPECT_EQ(select("D > '20240501103000.000000+000'"), "b");
    EXPECT_EQ(select("D <> '00000001000000.000000:000'"), "");
}

TEST_F(QueryFilterTest, Patterns)
{
    EXPECT_EQ(select("Text LIKE '[Ff]an.'"), "ab");
    EXPECT_EQ(select("Text NOT LIKE 'F.*'"), "b");
    EXPECT_EQ(select("Text LIKE 'F%'", cimomd::QueryLanguage::Wql), "a");
}

TEST_F(QueryFilterTest, NullIsNeitherTrueNorFalse)
{
    EXPECT_EQ(select("U IS NULL"), "c");
    EXPECT_EQ(select("U IS NOT NULL"), "ab");
    EXPECT_EQ(select("NOT U = 1"), "b");
    EXPECT_EQ(select("U = 1 OR Id = 'c'"), "ac");
    EXPECT_EQ(select("U = 1 AND Id = 'c'"), "");
    EXPECT_EQ(select("NOT (U = 1 AND Id = 'a')"), "bc");
    EXPECT_EQ(select("Ref IS NOT NULL"), "a");
    EXPECT_EQ(select("List IS NULL"), "abc");
}

TEST_F(QueryFilterTest, WhatCannotBeComparedIsRefused)
{
    EXPECT_EQ(select("X = 1"), "T has no property X");
    EXPECT_EQ(select("Id = X"), "T has no property X");
    EXPECT_EQ(select("U = 'one'"), "U cannot be compared with one");
    EXPECT_EQ(select("Text = 1"), "Text cannot be compared with 1");
    EXPECT_EQ(select("Text = TRUE"), "Text cannot be compared with TRUE");
    EXPECT_EQ(select("D = 'yesterday'"), "D cannot be compared with yesterday");
    EXPECT_EQ(select("U = Text"), "U cannot be compared with Text");
    EXPECT_EQ(select("U LIKE '1'"), "U cannot be compared with a pattern");
    EXPECT_EQ(select("List = 'a'"), "List cannot be compared with a");
    EXPECT_EQ(select("Ref = 'T.Id=1'"), "Ref cannot be compared with T.Id=1");
}

} // namespace
