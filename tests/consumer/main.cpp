// A program that uses vxxml the way an application does: one include, one
// imported target. It exercises a class from each installed area it can
// reach so that missing headers or unexported symbols fail the build.
#include <iostream>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

int main()
{
    try {
        throw CVxInvalidValueException(FormatString(L"value %s rejected", L"x"));
    } catch (const CVxException& e) {
        if (e.GetMessage() != L"value x rejected") {
            std::cerr << "unexpected message\n";
            return 1;
        }
    }
    std::cout << "consumer ok\n";
    return 0;
}
