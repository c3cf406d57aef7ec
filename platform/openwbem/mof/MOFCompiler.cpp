// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/MOFCompiler.hpp"

#include "openwbem/mof/Compilation.hpp"

namespace OpenWBEM::MOF {

MOFCompilerException::MOFCompilerException(const char* file, int line, const String& message,
                                           String source, size_t sourceLine, size_t sourceColumn,
                                           int errorCode)
    : Cloneable(file, line, message.c_str(), errorCode),
      m_source(std::move(source)),
      m_sourceLine(sourceLine),
      m_sourceColumn(sourceColumn) {}

MOFCompilerException ContentPlaces::failure(const char* at, const String& message,
                                            int errorCode) const {
    return texts->describe({at, message}, errorCode);
}

Array<NamespaceContent> compile(const Source& source, const CIMOMHandleIFCRef& handle,
                                const String& ns, const IncludeHandler& include,
                                Defaults defaults) {
    return Compilation(handle, include, false, defaults).run(source, ns);
}

void compileMOF(String mof, const CIMOMHandleIFCRef& handle, const String& ns,
                Array<CIMInstance>& instances, Array<CIMClass>& classes,
                Array<CIMQualifierType>& qualifierTypes, const String& sourceName,
                Defaults defaults) {
    const IncludeHandler none;
    Array<NamespaceContent> contents =
        Compilation(handle, none, true, defaults).run({sourceName, std::move(mof)}, ns);
    instances = std::move(contents.front().instances);
    classes = std::move(contents.front().classes);
    qualifierTypes = std::move(contents.front().qualifierTypes);
}

void checkMOF(String& mof, const CIMOMHandleIFCRef& handle, const String& ns,
              const String& sourceName) {
    const IncludeHandler none;
    Compilation compilation(handle, none, true, Defaults::FILLED_IN);
    try {
        compilation.run({sourceName, std::move(mof)}, ns);
    } catch (...) {
        mof = compilation.takeText();
        throw;
    }
    mof = compilation.takeText();
}

}  // namespace OpenWBEM::MOF
