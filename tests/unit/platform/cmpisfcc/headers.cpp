// A program of this interface, in any C++.
#include <CimClientLib/native.h>
// (After the others, as any order will do.)
#include <CimClientLib/cimgate_local.h>
#include <CimClientLib/cmci.h>

static_assert(sizeof(CMPIObjectPathFT) == 20 * sizeof(void*), "the table of object paths");

unsigned int countFans(CMCIClient* client);

unsigned int countFans(CMCIClient* client)
{
    CMPIStatus status = {CMPI_RC_OK, nullptr};
    CMPIObjectPath* path = native_new_CMPIObjectPath("root/xcim", "XCIM_Fan", &status);
    CMPIEnumeration* fans = client->ft->enumInstances(client, path, 0, nullptr, &status);
    unsigned int count = 0;
    while (!CMIsNullObject(fans) && CMHasNext(fans, &status) != 0) {
        const CMPIData fan = CMGetNext(fans, &status);
        const CMPIData name = CMGetProperty(fan.value.inst, "Name", &status);
        count += CMIsNullValue(name) ? 0 : 1;
    }
    CMRelease(path);
    return count;
}
