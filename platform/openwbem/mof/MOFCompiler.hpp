// SPDX-License-Identifier: Apache-2.0
//
// Compiles MOF (DSP0004 clause 7 and Annex A) into objects, and stores nothing. Names are looked up
// in the text first and through a handle second. The order of declarations in a text does not
// matter, except for pragmas.
#pragma once

#include <functional>
#include <memory>

#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/text/SourceText.hpp"

namespace OpenWBEM::MOF {

/// A text that cannot be compiled. The message is "SOURCE:LINE:COLUMN: error: WHAT", then the
/// source line and a line with a caret under the column (the line is shortened around it when
/// long). If it reports that an operation on a compiled object failed, the error code is the CIM
/// status of the operation.
class MOFCompilerException
    : public blocxx::Cloneable<MOFCompilerException, blocxx::LinesException> {
public:
    MOFCompilerException(const char* file, int line, const String& message, String source,
                         size_t sourceLine, size_t sourceColumn,
                         int errorCode = UNKNOWN_ERROR_CODE);
    const String& getSourceName() const noexcept { return m_source; }
    size_t getSourceLine() const noexcept { return m_sourceLine; }      ///< from 1
    size_t getSourceColumn() const noexcept { return m_sourceColumn; }  ///< from 1, in characters

    const char* type() const noexcept override { return "MOFCompilerException"; }

private:
    String m_source;
    size_t m_sourceLine;
    size_t m_sourceColumn;
};

/// Reads the text that `#pragma include ("name")` names. Gets the name as written and the name of
/// the including source. Its exceptions are reported at the place of the pragma.
using IncludeHandler = std::function<Source(const String& name, const String& includingSource)>;

/// Reads included files relative to the directory of the including file. Throws
/// blocxx::FileSystemException for a file that cannot be read, is not a regular one, is larger than
/// SourceText::MAX_SIZE, or grows by more than FileSystem::MAX_CONTENT_SIZE while it is read.
Source includeFile(const String& name, const String& includingSource);

class SourceTexts;

/// The places in the source texts that name the objects of a NamespaceContent, in the order of its
/// lists. Keeps the texts.
struct ContentPlaces {
    const char* nameSpace = nullptr;  ///< in the first pragma; null when the caller named it
    Array<const char*> qualifierTypes;
    Array<const char*> classes;
    Array<const char*> instances;
    std::shared_ptr<const SourceTexts> texts;

    /// The exception for an operation on the object at `at` that failed with `message`.
    MOFCompilerException failure(const char* at, const String& message, int errorCode) const;
};

/// Whether compiled instances get the defaults of their classes. Use LEFT_OUT when classes may
/// change before the instances are written: the repository then fills in the defaults. It leaves
/// out the properties that the text does not set (NULL sets one), except keys, by which other
/// objects of the text refer to the instance. Both check the instances alike.
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

/// Compiles one text for one namespace into arrays in the order of NamespaceContent. Throws as
/// compile() does, and for an include or a pragma that names another namespace than `ns`.
void compileMOF(String mof, const CIMOMHandleIFCRef& handle, const String& ns,
                Array<CIMInstance>& instances, Array<CIMClass>& classes,
                Array<CIMQualifierType>& qualifierTypes, const String& sourceName = "MOF",
                Defaults defaults = Defaults::FILLED_IN);

/// Compiles as compileMOF() does and drops the result. For large texts: does not copy `mof`, which
/// is unchanged afterwards, also when this throws, but empty when it was too large to be compiled.
void checkMOF(String& mof, const CIMOMHandleIFCRef& handle, const String& ns,
              const String& sourceName = "MOF");

}  // namespace OpenWBEM::MOF
