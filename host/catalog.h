// The message catalog: one English text for every error identifier.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/errors.h"
#include "core/export.h"

namespace readkit::host {

/// One text of the catalog. "{0}", "{1}", ... stand for the error's arguments in their order.
struct CatalogEntry {
  std::string_view identifier;
  std::string_view text;
  /// The text to take when the first argument is empty; empty when `text` serves for that too.
  std::string_view text_without_first_argument;
};

/// The entry of an identifier, or null.
READKIT_EXPORT const CatalogEntry* find_entry(std::string_view identifier);
/// All identifiers that have a text.
READKIT_EXPORT std::vector<std::string_view> catalog_identifiers();

/// The catalog's text of `identifier` filled with `arguments`, in UTF-8. An identifier that the
/// catalog does not know gets a text that shows it and its arguments.
READKIT_EXPORT std::string message(std::string_view identifier, const ErrorArguments& arguments);

/// An argument as the texts show it: numbers in decimal, text in UTF-8.
READKIT_EXPORT std::string to_text(const ErrorArgument& argument);

}  // namespace readkit::host
