#include "TestHelpers.h"

#include <memory>
#include <vxxml/Exceptions.h>

using namespace VxXmlLib16;

TEST(Exceptions, PathOnlyWhenGivenAndChainsOwnedOutermostFirst)
{
    CVxException withPath(L"bad value", L"/root/child[2]");
    EXPECT_EQ(withPath.GetMessage(), L"bad value\nPath: /root/child[2]");
    EXPECT_EQ(withPath.GetPath(), L"/root/child[2]");

    CVxException noPath(L"bad value", L"");
    EXPECT_EQ(noPath.GetMessage(), L"bad value");
    EXPECT_EQ(noPath.GetPath(), L"");
    EXPECT_EQ(noPath.GetInnerException(), nullptr);

    CVxOverFlowException innermost(L"three");
    CVxInvalidValueException middle(L"two", innermost);
    CVxValidationException outer(L"one", L"/a", middle);
    EXPECT_EQ(outer.GetFullMessage(), L"one\nPath: /a\ntwo\nthree");

    // The inner exceptions are clones that keep their most-derived type.
    const CVxException* inner = outer.GetInnerException();
    ASSERT_NE(inner, nullptr);
    EXPECT_NE(dynamic_cast<const CVxInvalidValueException*>(inner), nullptr);
    EXPECT_NE(dynamic_cast<const CVxOverFlowException*>(inner->GetInnerException()), nullptr);
    EXPECT_NE(inner, &middle);

    // Copies own independent chains.
    auto original = std::make_unique<CVxInvalidStateException>(
        L"outer", CVxInvalidParamException(L"mid", CVxException(L"deep")));
    CVxInvalidStateException copy(*original);
    original.reset(); // the copy's chain must survive the original
    EXPECT_EQ(copy.GetFullMessage(), L"outer\nmid\ndeep");

    CVxInvalidStateException moved(std::move(copy));
    EXPECT_EQ(moved.GetFullMessage(), L"outer\nmid\ndeep");
}

TEST(Exceptions, AssignmentKeepsThePathAndRetypingKeepsEverything)
{
    CVxException target(L"target", L"/keep");
    target = CVxException(L"source", L"/other", CVxException(L"cause"));
    EXPECT_EQ(target.GetMessage(), L"source\nPath: /other");
    EXPECT_EQ(target.GetPath(), L"/keep");
    EXPECT_EQ(target.GetFullMessage(), L"source\nPath: /other\ncause");

    target = CVxException(L"plain");
    EXPECT_EQ(target.GetInnerException(), nullptr);

    // Retyping keeps text, path and cause.
    const CVxException general(L"broken", L"/x", CVxException(L"why"));
    CVxInvalidNamespaceException ns(general);
    EXPECT_EQ(ns.GetMessage(), L"broken\nPath: /x");
    EXPECT_EQ(ns.GetPath(), L"/x");
    EXPECT_EQ(ns.GetFullMessage(), L"broken\nPath: /x\nwhy");

    // Thrown and caught through the family's bases.
    try {
        throw CVxInvalidValueException(L"v");
    } catch (const CVxValidationException& e) {
        EXPECT_EQ(e.GetMessage(), L"v");
        EXPECT_EQ(e.GetPath(), L"");
    }
}
