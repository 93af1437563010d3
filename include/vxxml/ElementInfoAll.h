// For generated code only: applications never use this header directly.
// Element metadata of the children of an xs:all. Each member tests only the
// element at the cursor, so the children may come in any order; mandatory
// members report their absence afterwards, through Validate.
#pragma once

#include <vxxml/ElementInfoKinds.h>

namespace VxXmlLib16Data {

class VXXML_API CElementInfoAllAbsClsCol : public CElementInfoAllCol
{
public:
    CElementInfoAllAbsClsCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType)
        : CElementInfoAllCol(name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoAllAbsClsMnd : public CElementInfoAbsCls
{
public:
    CElementInfoAllAbsClsMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType, AbstractFactoryFn factory)
        : CElementInfoAbsCls(Compositor_All, Cardinality_Mandatory, name, namespaceUri,
                             propertyIndex, childType, factory)
    {
    }
};

class VXXML_API CElementInfoAllAbsClsOpt : public CElementInfoAbsCls
{
public:
    CElementInfoAllAbsClsOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType, AbstractFactoryFn factory)
        : CElementInfoAbsCls(Compositor_All, Cardinality_Optional, name, namespaceUri,
                             propertyIndex, childType, factory)
    {
    }
};

class VXXML_API CElementInfoAllClsCol : public CElementInfoAllCol
{
public:
    CElementInfoAllClsCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                          XmlElementType childType)
        : CElementInfoAllCol(name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoAllClsMnd : public CElementInfoCls
{
public:
    CElementInfoAllClsMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                          XmlElementType childType, ClassFactoryFn factory, int factoryArgument,
                          bool flag)
        : CElementInfoCls(Compositor_All, Cardinality_Mandatory, name, namespaceUri, propertyIndex,
                          childType, factory, factoryArgument, flag)
    {
    }
};

class VXXML_API CElementInfoAllClsOpt : public CElementInfoCls
{
public:
    CElementInfoAllClsOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                          XmlElementType childType, ClassFactoryFn factory, int factoryArgument)
        : CElementInfoCls(Compositor_All, Cardinality_Optional, name, namespaceUri, propertyIndex,
                          childType, factory, factoryArgument, false)
    {
    }
};

class VXXML_API CElementInfoAllEnumCol : public CElementInfoAllCol
{
public:
    CElementInfoAllEnumCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoAllCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoAllEnumMnd : public CElementInfoEnum
{
public:
    CElementInfoAllEnumMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, EnumToTextFn enumToText, TextToEnumFn textToEnum,
                           const wchar_t* defaultValue)
        : CElementInfoEnum(Compositor_All, Cardinality_Mandatory, name, namespaceUri, propertyIndex,
                           nillable, enumToText, textToEnum, defaultValue)
    {
    }
};

class VXXML_API CElementInfoAllEnumOpt : public CElementInfoEnum
{
public:
    CElementInfoAllEnumOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, EnumToTextFn enumToText, TextToEnumFn textToEnum,
                           const wchar_t* defaultValue)
        : CElementInfoEnum(Compositor_All, Cardinality_Optional, name, namespaceUri, propertyIndex,
                           nillable, enumToText, textToEnum, defaultValue)
    {
    }
};

class VXXML_API CElementInfoAllPrimCol : public CElementInfoAllCol
{
public:
    CElementInfoAllPrimCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoAllCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoAllPrimMnd : public CElementInfoPrim
{
public:
    CElementInfoAllPrimMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, ItemType type, const wchar_t* formatOverride,
                           VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                           const CPrimitiveRestrictions& restrictions, const wchar_t* defaultValue)
        : CElementInfoPrim(Compositor_All, Cardinality_Mandatory, name, namespaceUri, propertyIndex,
                           nillable, type, formatOverride, rule, restrictions, defaultValue)
    {
    }
};

class VXXML_API CElementInfoAllPrimOpt : public CElementInfoPrim
{
public:
    CElementInfoAllPrimOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, ItemType type, const wchar_t* formatOverride,
                           VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                           const CPrimitiveRestrictions& restrictions, const wchar_t* defaultValue)
        : CElementInfoPrim(Compositor_All, Cardinality_Optional, name, namespaceUri, propertyIndex,
                           nillable, type, formatOverride, rule, restrictions, defaultValue)
    {
    }
};

class VXXML_API CElementInfoAllUntpdCol : public CElementInfoAllCol
{
public:
    CElementInfoAllUntpdCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoAllCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoAllUntpdMnd : public CElementInfoUntpd
{
public:
    CElementInfoAllUntpdMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                            const wchar_t* namespaceConstraint, const wchar_t* targetNamespace)
        : CElementInfoUntpd(Compositor_All, Cardinality_Mandatory, name, namespaceUri,
                            propertyIndex, namespaceConstraint, targetNamespace)
    {
    }
};

class VXXML_API CElementInfoAllUntpdOpt : public CElementInfoUntpd
{
public:
    CElementInfoAllUntpdOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                            const wchar_t* namespaceConstraint, const wchar_t* targetNamespace)
        : CElementInfoUntpd(Compositor_All, Cardinality_Optional, name, namespaceUri, propertyIndex,
                            namespaceConstraint, targetNamespace)
    {
    }
};

} // namespace VxXmlLib16Data
