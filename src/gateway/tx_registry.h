// The host's function registry, declared: how the library makes its gateway functions known by
// name. The host that loads the library defines these operations.
#pragma once

#include "core/export.h"
#include "gateway/tx_array.h"

/// A node of the host's function namespace; the host owns all of them.
struct txFunctionNamespace;
/// A name that the host has interned; the host owns all of them.
struct txName;

extern "C" {

/// The interned form of `name`; null, the host's null name, for an empty or absent name. Valid
/// until the library that asks is unloaded, or, asked for by one that is already loaded, until the
/// thread ends.
READKIT_EXPORT const txName* txInternName(const char* name);
/// The outermost namespace of the given name, or null.
READKIT_EXPORT txFunctionNamespace* txFindNamespace(const char* name);
/// The namespace of the given name inside `outer`, or null (also when `outer` is null).
READKIT_EXPORT txFunctionNamespace* txFindInnerNamespace(txFunctionNamespace* outer,
                                                         const char* name);
/// Adds `function` under `name` to `ns`. `component` may be null; `scope` is the host's symbol
/// scope. Returns whether the function was added (not when `ns` or `name` is null); adding a name
/// again replaces its function and keeps its place in the order.
READKIT_EXPORT bool txAddFunction(txFunctionNamespace* ns, const txName* name, txGateway function,
                                  const char* component, int scope);

}  // extern "C"
