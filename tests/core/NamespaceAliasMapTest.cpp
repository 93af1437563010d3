#include "TestHelpers.h"

#include <vxxml/NamespaceAliasMap.h>

using namespace VxXmlLib16;

TEST(NamespaceAliasMap, EntriesAreOrderedByUriNotByInsertion)
{
    CNamespaceAliasMap map;
    map.Add(L"z", L"urn:b");
    map.Add(L"a", L"urn:c");
    map.Add(L"m", L"urn:a");
    map.Add(L"u", L"urn:\u00e9"); // compared as code points, so after ASCII
    map.Add(L"U", L"urn:B");      // upper case sorts before lower case
    std::wstring uris;
    for (int i = 0; i < map.GetNamespaceCount(); ++i) {
        uris += map.GetNamespaceAt(i) + L" ";
    }
    EXPECT_EQ(uris, L"urn:B urn:a urn:b urn:c urn:\u00e9 ");
    EXPECT_THROW_MSG(map.GetNamespaceAt(5), CVxInvalidParamException, L"Index out of range");
    EXPECT_THROW_MSG(map.GetNamespaceAt(-1), CVxInvalidParamException, L"Index out of range");
    // Adding a known namespace replaces its alias.
    map.Add(L"new", L"urn:a");
    EXPECT_EQ(map.GetNamespaceCount(), 5);
    EXPECT_EQ(map.GetAliasFromNamespace(L"urn:a"), L"new");
    EXPECT_FALSE(map.DoesAliasExist(L"m"));
}

TEST(NamespaceAliasMap, LookingUpAnUnknownNamespaceLeavesAnEmptyAliasEntry)
{
    CNamespaceAliasMap map;
    map.Add(L"p", L"urn:p");
    EXPECT_FALSE(map.DoesNamespaceExist(L"urn:q"));
    EXPECT_EQ(map.GetAliasFromNamespace(L"urn:q"), L"");
    EXPECT_TRUE(map.DoesNamespaceExist(L"urn:q"));
    // The left-over entry is a real entry with the empty alias, added once.
    EXPECT_EQ(map.GetNamespaceFromAlias(L""), L"urn:q");
    map.GetAliasFromNamespace(L"urn:q");
    EXPECT_EQ(map.GetNamespaceCount(), 2);
}

TEST(NamespaceAliasMap, SharedAliasResolvesToTheFirstNamespaceInUriOrder)
{
    CNamespaceAliasMap map;
    map.Add(L"dup", L"urn:2");
    map.Add(L"dup", L"urn:1");
    EXPECT_EQ(map.GetNamespaceFromAlias(L"dup"), L"urn:1");
    map.RemoveNamespace(L"urn:1");
    EXPECT_EQ(map.GetNamespaceFromAlias(L"dup"), L"urn:2");
    map.RemoveNamespace(L"urn:1"); // absent: no error
    map.RemoveNamespace(nullptr);
    EXPECT_EQ(map.GetNamespaceCount(), 1);
    EXPECT_THROW_MSG(map.GetNamespaceFromAlias(L"nope"), CVxException,
                     L"Namespace alias [nope] not found");
}
