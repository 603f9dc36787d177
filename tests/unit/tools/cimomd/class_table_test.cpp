// Inheritance.
#include "SampleModel.h"
#include "class_table.h"

#include <gtest/gtest.h>

namespace {

using cimomd::ClassEntry;
using cimomd::ClassTable;
using cimxml::Type;
using sample::cls;
using sample::flag;
using sample::key;
using sample::property;

std::vector<cimomd::ClassSource> sources(std::vector<cimxml::Class> classes)
{
    std::vector<cimomd::ClassSource> made;
    made.reserve(classes.size());
    for (cimxml::Class& one : classes) {
        made.push_back({std::move(one), "f.xml"});
    }
    return made;
}

std::string problemOf(std::vector<cimxml::Class> classes)
{
    ClassTable table;
    std::string problem;
    EXPECT_FALSE(table.add(sources(std::move(classes)), problem));
    return problem;
}

TEST(ClassTable, SubclassesInheritPropertiesAndKeysBeforeTheirOwn)
{
    ClassTable table;
    std::string problem;
    ASSERT_TRUE(table.add(sources({cls("B", "a", {property("Own", Type::Uint8)}),
                                   cls("A", "", {key("Id", Type::String)})}),
                          problem))
        << problem;
    const ClassEntry* const b = table.find("b");
    ASSERT_NE(b, nullptr);
    ASSERT_EQ(b->definition.properties.size(), 2U);
    EXPECT_EQ(b->definition.properties[0].name, "Id");
    EXPECT_EQ(b->definition.properties[0].classOrigin, "A");
    EXPECT_TRUE(b->definition.properties[0].propagated);
    EXPECT_EQ(b->definition.properties[1].classOrigin, "B");
    EXPECT_FALSE(b->definition.properties[1].propagated);
    EXPECT_EQ(b->keys, std::vector<size_t>{0});
    EXPECT_TRUE(b->isA(*table.find("A")));
    EXPECT_FALSE(table.find("A")->isA(*b));
    EXPECT_EQ(table.roots(), std::vector<const ClassEntry*>{table.find("A")});
    EXPECT_EQ(table.find("A")->subclasses, std::vector<const ClassEntry*>{b});
}

TEST(ClassTable, OverridingKeepsPlaceOriginAndQualifiers)
{
    ClassTable table;
    std::string problem;
    ASSERT_TRUE(
        table.add(sources({cls("A", "", {key("Id", Type::String), property("P", Type::Uint8)}),
                           cls("B", "A", {property("ID", Type::String, std::string("x"))})}),
                  problem))
        << problem;
    const cimxml::Property& id = table.find("B")->definition.properties[0];
    EXPECT_EQ(id.name, "ID");
    EXPECT_EQ(id.classOrigin, "A");
    EXPECT_FALSE(id.propagated);
    EXPECT_EQ(std::get<std::string>(id.value.scalar), "x");
    EXPECT_EQ(table.find("B")->keys, std::vector<size_t>{0});
}

TEST(ClassTable, QualifiersOfAClassAreInheritedUnlessRestricted)
{
    ClassTable table;
    std::string problem;
    cimxml::Qualifier restricted = flag("Secret");
    restricted.toSubclass = false;
    ASSERT_TRUE(
        table.add(sources({cls("A", "", {}, {flag("Association"), flag("Abstract"), restricted}),
                           cls("B", "A", {})}),
                  problem))
        << problem;
    EXPECT_TRUE(table.find("A")->hasFlag("abstract"));
    EXPECT_TRUE(table.find("B")->hasFlag("association"));
    EXPECT_FALSE(table.find("B")->hasFlag("Abstract"));
    EXPECT_FALSE(table.find("B")->hasFlag("Secret"));
}

TEST(ClassTable, ProblemsNameFileAndClass)
{
    EXPECT_EQ(problemOf({cls("A", "", {}), cls("a", "", {})}), "f.xml: class a is declared twice");
    EXPECT_EQ(problemOf({cls("A", "Z", {})}),
              "f.xml: class A is derived from Z, which is not declared, or is derived from it");
    EXPECT_EQ(problemOf({cls("A", "", {property("P", Type::Uint8), property("p", Type::Uint8)})}),
              "f.xml: class A declares p twice, or overrides one of another type");
    EXPECT_EQ(problemOf({cls("A", "", {property("P", Type::Uint8)}),
                         cls("B", "A", {property("P", Type::Uint16)})}),
              "f.xml: class B declares P twice, or overrides one of another type");
    EXPECT_EQ(problemOf({cls("A", "A", {})}),
              "f.xml: class A is derived from A, which is not declared, or is derived from it");
}

} // namespace
