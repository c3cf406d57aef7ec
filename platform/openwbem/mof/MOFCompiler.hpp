// SPDX-License-Identifier: Apache-2.0
//
// Compiling MOF (DSP0004 clause 7 and Annex A) into objects. Nothing is written anywhere: names are
// looked up in the text being compiled first and through a handle second, and the result is handed
// back. The order of declarations in a text does not matter, except for aliases and pragmas.
#pragma once

#include <functional>
#include <memory>

#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/text/SourceText.hpp"

namespace OpenWBEM::MOF {

/// A text that cannot be compiled. The message is "SOURCE:LINE:COLUMN: error: WHAT", then the
/// source line and a line with a caret under the column (the line is shortened around it when
/// long). Where the failure of an operation on a compiled object is told in this form, the error
/// code is that operation's CIM status.
class MOFCompilerException : public blocxx::Exception {
public:
    MOFCompilerException(const char* file, int line, const String& message, String source,
                         size_t sourceLine, size_t sourceColumn,
                         int errorCode = UNKNOWN_ERROR_CODE);
    const String& getSourceName() const noexcept { return m_source; }
    size_t getSourceLine() const noexcept { return m_sourceLine; }      ///< from 1
    size_t getSourceColumn() const noexcept { return m_sourceColumn; }  ///< from 1, in characters

    const char* type() const noexcept override { return "MOFCompilerException"; }
    MOFCompilerException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;

private:
    String m_source;
    size_t m_sourceLine;
    size_t m_sourceColumn;
};

/// Opens what `#pragma include ("name")` names: given the name as written and the including
/// source's name. Its exceptions are reported at the pragma's place.
using IncludeHandler = std::function<Source(const String& name, const String& includingSource)>;

/// Reads included files relative to the directory of the including file. Throws
/// blocxx::FileSystemException for what cannot be read, is no regular file, or goes on for more
/// than blocxx::FileSystem::MAX_CONTENT_SIZE beyond the size that it tells.
Source includeFile(const String& name, const String& includingSource);

class SourceTexts;

/// Where the objects of a NamespaceContent are named in their texts, which are kept for it. Each
/// list stands beside that of the objects.
struct ContentPlaces {
    const char* nameSpace = nullptr;  ///< of the first pragma; null where the caller named it
    Array<const char*> qualifierTypes;
    Array<const char*> classes;
    Array<const char*> instances;
    std::shared_ptr<const SourceTexts> texts;

    /// The failure `message` of what was done with the object that is named `at`.
    MOFCompilerException failure(const char* at, const String& message, int errorCode) const;
};

/// Whether compiled instances hold the defaults of their classes. Who changes classes before
/// writing the instances leaves them out, and the repository fills them in from the classes of that
/// moment. Left out is what the text does not say (NULL is said), but not the default of a key, by
/// which other objects of the text refer to the instance. Instances are checked in the same way.
enum class Defaults { FILLED_IN, LEFT_OUT };

/// What a text declares in one namespace, each list in an order in which it can be created:
/// superclasses before subclasses, otherwise as in the text. Classes are in their derived form,
/// instances complete (see ClassDerivation, InstanceCompletion), or as Defaults says.
struct NamespaceContent {
    String nameSpace;
    Array<CIMQualifierType> qualifierTypes;
    Array<CIMClass> classes;
    Array<CIMInstance> instances;
    ContentPlaces places;
};

/// Compiles `source` with everything that it includes, starting in `ns`; `#pragma namespace`
/// changes the namespace of what follows it. Returns the namespaces in the order of their first
/// mention. `handle` may be null: then only what the text itself declares is known. `include` may
/// be empty: then an include pragma is an error. Throws MOFCompilerException; failures of the
/// handle other than "not found" pass through.
Array<NamespaceContent> compile(const Source& source, const CIMOMHandleIFCRef& handle,
                                const String& ns, const IncludeHandler& include,
                                Defaults defaults = Defaults::FILLED_IN);

/// Compiles one text for one namespace into arrays, in the order that NamespaceContent has.
/// Includes are refused, and so is a namespace pragma that names another namespace than `ns`.
void compileMOF(String mof, const CIMOMHandleIFCRef& handle, const String& ns,
                Array<CIMInstance>& instances, Array<CIMClass>& classes,
                Array<CIMQualifierType>& qualifierTypes, const String& sourceName = "MOF",
                Defaults defaults = Defaults::FILLED_IN);

/// Compiles as compileMOF() does and forgets what comes out. For large texts: `mof` is not copied,
/// and is given back, also when this throws, unless it is too large to be compiled.
void checkMOF(String& mof, const CIMOMHandleIFCRef& handle, const String& ns,
              const String& sourceName = "MOF");

}  // namespace OpenWBEM::MOF
