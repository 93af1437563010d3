// For generated code only: applications never use this header directly.
// Element metadata of the children of an xs:sequence. Members are read in
// schema order from one shared cursor: a mandatory member skips foreign
// elements before it only when the context ignores unknown elements, and is
// otherwise reported missing; an optional member that is absent leaves the
// cursor where it is.
#pragma once

#include <vxxml/ElementInfoKinds.h>

namespace VxXmlLib16Data {

class VXXML_API CElementInfoSeqClsMnd : public CElementInfoCls
{
public:
    CElementInfoSeqClsMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                          XmlElementType childType, ClassFactoryFn factory, int factoryArgument,
                          bool flag)
        : CElementInfoCls(Compositor_Sequence, Cardinality_Mandatory, name, namespaceUri,
                          propertyIndex, childType, factory, factoryArgument, flag)
    {
    }
};

class VXXML_API CElementInfoSeqClsOpt : public CElementInfoCls
{
public:
    CElementInfoSeqClsOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                          XmlElementType childType, ClassFactoryFn factory, int factoryArgument)
        : CElementInfoCls(Compositor_Sequence, Cardinality_Optional, name, namespaceUri,
                          propertyIndex, childType, factory, factoryArgument, false)
    {
    }
};

class VXXML_API CElementInfoSeqAbsClsMnd : public CElementInfoAbsCls
{
public:
    CElementInfoSeqAbsClsMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType, AbstractFactoryFn factory)
        : CElementInfoAbsCls(Compositor_Sequence, Cardinality_Mandatory, name, namespaceUri,
                             propertyIndex, childType, factory)
    {
    }
};

class VXXML_API CElementInfoSeqAbsClsOpt : public CElementInfoAbsCls
{
public:
    CElementInfoSeqAbsClsOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType, AbstractFactoryFn factory)
        : CElementInfoAbsCls(Compositor_Sequence, Cardinality_Optional, name, namespaceUri,
                             propertyIndex, childType, factory)
    {
    }
};

class VXXML_API CElementInfoSeqClsCol : public CElementInfoSeqCol
{
public:
    CElementInfoSeqClsCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                          XmlElementType childType)
        : CElementInfoSeqCol(name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoSeqAbsClsCol : public CElementInfoSeqCol
{
public:
    CElementInfoSeqAbsClsCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                             XmlElementType childType)
        : CElementInfoSeqCol(name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoSeqPrimCol : public CElementInfoSeqCol
{
public:
    CElementInfoSeqPrimCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoSeqCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoSeqEnumCol : public CElementInfoSeqCol
{
public:
    CElementInfoSeqEnumCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoSeqCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoSeqUntpdCol : public CElementInfoSeqCol
{
public:
    CElementInfoSeqUntpdCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
        : CElementInfoSeqCol(name, namespaceUri, propertyIndex)
    {
    }
};

class VXXML_API CElementInfoSeqPrimMnd : public CElementInfoPrim
{
public:
    CElementInfoSeqPrimMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, ItemType type, const wchar_t* formatOverride,
                           VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                           const CPrimitiveRestrictions& restrictions, const wchar_t* defaultValue)
        : CElementInfoPrim(Compositor_Sequence, Cardinality_Mandatory, name, namespaceUri,
                           propertyIndex, nillable, type, formatOverride, rule, restrictions,
                           defaultValue)
    {
    }
};

class VXXML_API CElementInfoSeqPrimOpt : public CElementInfoPrim
{
public:
    CElementInfoSeqPrimOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, ItemType type, const wchar_t* formatOverride,
                           VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                           const CPrimitiveRestrictions& restrictions, const wchar_t* defaultValue)
        : CElementInfoPrim(Compositor_Sequence, Cardinality_Optional, name, namespaceUri,
                           propertyIndex, nillable, type, formatOverride, rule, restrictions,
                           defaultValue)
    {
    }
};

class VXXML_API CElementInfoSeqEnumMnd : public CElementInfoEnum
{
public:
    CElementInfoSeqEnumMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, EnumToTextFn enumToText, TextToEnumFn textToEnum,
                           const wchar_t* defaultValue)
        : CElementInfoEnum(Compositor_Sequence, Cardinality_Mandatory, name, namespaceUri,
                           propertyIndex, nillable, enumToText, textToEnum, defaultValue)
    {
    }
};

class VXXML_API CElementInfoSeqEnumOpt : public CElementInfoEnum
{
public:
    CElementInfoSeqEnumOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, EnumToTextFn enumToText, TextToEnumFn textToEnum,
                           const wchar_t* defaultValue)
        : CElementInfoEnum(Compositor_Sequence, Cardinality_Optional, name, namespaceUri,
                           propertyIndex, nillable, enumToText, textToEnum, defaultValue)
    {
    }
};

class VXXML_API CElementInfoSeqUntpdMnd : public CElementInfoUntpd
{
public:
    CElementInfoSeqUntpdMnd(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                            const wchar_t* namespaceConstraint, const wchar_t* targetNamespace)
        : CElementInfoUntpd(Compositor_Sequence, Cardinality_Mandatory, name, namespaceUri,
                            propertyIndex, namespaceConstraint, targetNamespace)
    {
    }
};

class VXXML_API CElementInfoSeqUntpdOpt : public CElementInfoUntpd
{
public:
    CElementInfoSeqUntpdOpt(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                            const wchar_t* namespaceConstraint, const wchar_t* targetNamespace)
        : CElementInfoUntpd(Compositor_Sequence, Cardinality_Optional, name, namespaceUri,
                            propertyIndex, namespaceConstraint, targetNamespace)
    {
    }
};

} // namespace VxXmlLib16Data
