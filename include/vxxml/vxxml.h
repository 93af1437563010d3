// The one header an application includes to use vxxml.
#pragma once

#include <vxxml/BigInteger.h>
#include <vxxml/CriticalSection.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/EventSink.h>
#include <vxxml/Exceptions.h>
#include <vxxml/Export.h>
#include <vxxml/FormatString.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/NamespaceAliasMap.h>
#include <vxxml/Nillable.h>
#include <vxxml/SerializationContext.h>
#include <vxxml/SmartPtr.h>
#include <vxxml/XmlGeneratedClass.h>
#include <vxxml/XmlObjectBase.h>
#include <vxxml/XmlTextWriter.h>
#include <vxxml/XmlWriter.h>
