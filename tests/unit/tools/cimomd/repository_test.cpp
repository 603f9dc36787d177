// What is read from declaration files, and what is said about broken ones.
#include "SampleModel.h"
#include "repository.h"

#include <TempDirectory.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace {

using testing::HasSubstr;

constexpr const char* kFan =
    R"(<VALUE.OBJECT><CLASS NAME="Fan" SUPERCLASS="Base"><PROPERTY NAME="Speed" TYPE="uint32"/></CLASS></VALUE.OBJECT>)";
constexpr const char* kBase =
    R"(<VALUE.OBJECT><CLASS NAME="Base"><PROPERTY NAME="Id" TYPE="string"><QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER></PROPERTY></CLASS></VALUE.OBJECT>)";

std::string fan(const std::string& id, const std::string& speed)
{
    return R"(<VALUE.OBJECT><INSTANCE CLASSNAME="Fan"><PROPERTY NAME="Id" TYPE="string"><VALUE>)" +
           id + R"(</VALUE></PROPERTY><PROPERTY NAME="Speed" TYPE="string"><VALUE>)" + speed +
           "</VALUE></PROPERTY></INSTANCE></VALUE.OBJECT>";
}

class RepositoryTest : public testing::Test
{
protected:
    void write(const std::string& name, const std::string& text) const
    {
        std::ofstream(mDirectory.File(name)) << text;
    }

    void declare(const std::string& name, const std::string& objects) const
    {
        write(name, R"(<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>
<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>
)" + objects + "</DECLGROUP></DECLARATION></CIM>\n");
    }

    std::string problem()
    {
        std::string problem;
        EXPECT_FALSE(mRepository.load(mDirectory.File(""), problem));
        return problem;
    }

    support::TempDirectory mDirectory;
    cimomd::Repository mRepository;
};

TEST_F(RepositoryTest, OrderOfFilesAndDeclarationsDoesNotMatterForClasses)
{
    declare("1.xml", fan("b", "2") + kFan);
    declare("2.xml", kBase + fan("a", "1"));
    write("notes.txt", "not read");
    std::string problem;
    ASSERT_TRUE(mRepository.load(mDirectory.File(""), problem)) << problem;
    cimomd::NameSpace* const nameSpace = mRepository.find("ROOT/xcim");
    ASSERT_NE(nameSpace, nullptr);
    std::string fans;
    nameSpace->forEach(*nameSpace->classes().find("Base"), [&](const auto& stored) {
        fans += sample::textOf(stored.instance, "Id") + sample::textOf(stored.instance, "Speed");
    });
    EXPECT_EQ(fans, "b2a1");
    EXPECT_EQ(mRepository.find("root"), nullptr);
}

TEST_F(RepositoryTest, ProblemsNameFileAndFault)
{
    EXPECT_THAT(problem(), HasSubstr("there is no *.xml file"));
    declare("1.xml", kFan);
    EXPECT_THAT(problem(),
                HasSubstr("1.xml: class Fan is derived from Base, which is not declared"));
}

TEST_F(RepositoryTest, MissingDirectoryIsAProblem)
{
    std::string problem;
    EXPECT_FALSE(mRepository.load(mDirectory.File("nowhere"), problem));
    EXPECT_THAT(problem, HasSubstr("nowhere: No such file or directory"));
}

TEST_F(RepositoryTest, FileThatIsNoDeclarationIsAProblem)
{
    declare("1.xml", kBase);
    write("2.xml", "<CIM");
    EXPECT_THAT(problem(), HasSubstr("2.xml: line 1: "));
}

TEST_F(RepositoryTest, InstanceThatDoesNotFitIsAProblem)
{
    declare("1.xml", std::string(kBase) + kFan + fan("a", "1") + fan("b", "fast"));
    EXPECT_THAT(problem(),
                HasSubstr("1.xml: instance 2, of Fan: the value of Speed is not of type uint32"));
}

TEST_F(RepositoryTest, InstanceThatIsThereTwiceIsAProblem)
{
    declare("1.xml", std::string(kBase) + kFan + fan("a", "1"));
    declare("2.xml", fan("a", "1"));
    EXPECT_THAT(problem(), HasSubstr("2.xml: instance 1, of Fan: Fan.Id=\"a\" is there already"));
}

} // namespace
