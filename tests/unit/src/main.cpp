#include <ExtendedErrorInfoHandling.h>
#include <gmock/gmock.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
    return RUN_ALL_TESTS();
}
