// A device whose requests run what a test gives it.
#pragma once

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CAttributeMap.h>

#include <functional>

namespace vordal::test {

class Scripted : public QX5Device
{
public:
    std::function<void(CAttributeMap*)> onRequest;

private:
    void HandleRequestMap(CAttributeMap* request) override
    {
        if (onRequest) {
            onRequest(request);
        }
    }
};

} // namespace vordal::test
