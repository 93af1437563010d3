// For generated code only: applications never use this header directly.
// Element metadata of the members of an xs:choice. Every member is optional
// by nature: the owner reads the first member present and keeps the name of
// the one that is set. A class member hands its child the "optional" flag
// when writing; a collection member is written without a count check.
#pragma once

#include <vxxml/ElementInfoKinds.h>

namespace VxXmlLib16Data {

class VXXML_API CElementInfoChoiceAbsClsCol : public CElementInfoChoiceCol
{
public:
    CElementInfoChoiceAbsClsCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                                XmlElementType childType)
        : CElementInfoChoiceCol(name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoChoiceAbsClsOpt : public CElementInfoAbsCls
{
public:
    CElementInfoChoiceAbsClsOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                                XmlElementType childType, AbstractFactoryFn factory)
        : CElementInfoAbsCls(Compositor_Choice, Cardinality_Optional, name, namespaceUri,
                             propertyIndex, childType, factory)
    {
    }
};

class VXXML_API CElementInfoChoiceClsCol : public CElementInfoChoiceCol
{
public:
    CElementInfoChoiceClsCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType)
        : CElementInfoChoiceCol(name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoChoiceClsOpt : public CElementInfoCls
{
public:
    CElementInfoChoiceClsOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType, ClassFactoryFn factory, int factoryArgument)
        : CElementInfoCls(Compositor_Choice, Cardinality_Optional, name, namespaceUri,
                          propertyIndex, childType, factory, factoryArgument, false)
    {
    }
};

class VXXML_API CElementInfoChoiceEnumCol : public CElementInfoChoiceCol
{
public:
    CElementInfoChoiceEnumCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoChoiceCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoChoiceEnumOpt : public CElementInfoEnum
{
public:
    CElementInfoChoiceEnumOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                              bool nillable, EnumToTextFn enumToText, TextToEnumFn textToEnum,
                              const wchar_t* defaultValue)
        : CElementInfoEnum(Compositor_Choice, Cardinality_Optional, name, namespaceUri,
                           propertyIndex, nillable, enumToText, textToEnum, defaultValue)
    {
    }
};

class VXXML_API CElementInfoChoicePrimCol : public CElementInfoChoiceCol
{
public:
    CElementInfoChoicePrimCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoChoiceCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoChoicePrimOpt : public CElementInfoPrim
{
public:
    CElementInfoChoicePrimOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                              bool nillable, ItemType type, const wchar_t* formatOverride,
                              VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                              const CPrimitiveRestrictions& restrictions,
                              const wchar_t* defaultValue)
        : CElementInfoPrim(Compositor_Choice, Cardinality_Optional, name, namespaceUri,
                           propertyIndex, nillable, type, formatOverride, rule, restrictions,
                           defaultValue)
    {
    }
};

class VXXML_API CElementInfoChoiceUntpdCol : public CElementInfoChoiceCol
{
public:
    CElementInfoChoiceUntpdCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoChoiceCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoChoiceUntpdOpt : public CElementInfoUntpd
{
public:
    CElementInfoChoiceUntpdOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                               const wchar_t* namespaceConstraint, const wchar_t* targetNamespace)
        : CElementInfoUntpd(Compositor_Choice, Cardinality_Optional, name, namespaceUri,
                            propertyIndex, namespaceConstraint, targetNamespace)
    {
    }
};

} // namespace VxXmlLib16Data
