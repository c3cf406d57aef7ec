// SPDX-License-Identifier: Apache-2.0
//
// Receives the results of an enumeration one by one.
#pragma once

#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM {

template <class T>
class ResultHandlerIFC {
public:
    virtual ~ResultHandlerIFC() = default;
    void handle(const T& object) { doHandle(object); }

protected:
    /// An exception thrown from here ends the enumeration and reaches its caller.
    virtual void doHandle(const T& object) = 0;
};

using CIMObjectPathResultHandlerIFC = ResultHandlerIFC<CIMObjectPath>;
using CIMInstanceResultHandlerIFC = ResultHandlerIFC<CIMInstance>;
using CIMClassResultHandlerIFC = ResultHandlerIFC<CIMClass>;
using CIMQualifierTypeResultHandlerIFC = ResultHandlerIFC<CIMQualifierType>;
using StringResultHandlerIFC = ResultHandlerIFC<String>;

/// Collects the results in an array that the caller owns.
template <class T>
class ArrayBuilder : public ResultHandlerIFC<T> {
public:
    explicit ArrayBuilder(Array<T>& out) : m_out(out) {}

protected:
    void doHandle(const T& object) override { m_out.push_back(object); }

private:
    Array<T>& m_out;
};

/// Passes each result to a callable.
template <class T, class F>
class FunctionResultHandler : public ResultHandlerIFC<T> {
public:
    explicit FunctionResultHandler(F function) : m_function(std::move(function)) {}

protected:
    void doHandle(const T& object) override { m_function(object); }

private:
    F m_function;
};

/// A handler of T that calls `function` for each result.
template <class T, class F>
FunctionResultHandler<T, F> makeResultHandler(F function) {
    return FunctionResultHandler<T, F>(std::move(function));
}

}  // namespace OpenWBEM
