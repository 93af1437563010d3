// The one header an application includes to use vxxml.
#pragma once

#include <vxxml/Base64.h>
#include <vxxml/BinaryData.h>
#include <vxxml/BinaryStream.h>
#include <vxxml/CriticalSection.h>
#include <vxxml/Encoder.h>
#include <vxxml/Exceptions.h>
#include <vxxml/Export.h>
#include <vxxml/FormatString.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/StringBuffer.h>
#include <vxxml/TextStream.h>
#include <vxxml/VxZip.h>
#include <vxxml/XmlEncoding.h>
