// The one header an application includes to use vxxml.
#pragma once

#include <vxxml/CriticalSection.h>
#include <vxxml/Exceptions.h>
#include <vxxml/Export.h>
#include <vxxml/FormatString.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/XmlTextWriter.h>
#include <vxxml/XmlWriter.h>
