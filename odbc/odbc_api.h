// ODBC's interface, whose wide characters are UTF-16 here.
#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstdint>

#include "frame/text.h"

namespace ledgerwick::odbc {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));

// ODBC asks for characters that it may write to also where it only reads.
inline SQLWCHAR* Wide(const Text& text) noexcept {
  return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text.data()));
}
inline SQLWCHAR* Wide(char16_t* buffer) noexcept { return reinterpret_cast<SQLWCHAR*>(buffer); }

// A number where ODBC takes a pointer.
inline SQLPOINTER AsPointer(SQLULEN number) noexcept {
  return reinterpret_cast<SQLPOINTER>(std::uintptr_t{number});
}

inline bool Succeeded(SQLRETURN result) noexcept {
  return result == SQL_SUCCESS || result == SQL_SUCCESS_WITH_INFO;
}

// A handle that is freed with the object.
class Handle {
 public:
  Handle() = default;
  // A new handle of `type` below `parent`; none where memory or the driver fails.
  Handle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
    if (!Succeeded(SQLAllocHandle(type, parent, &handle_))) handle_ = nullptr;
  }
  ~Handle() { Free(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  SQLHANDLE Get() const noexcept { return handle_; }
  SQLSMALLINT type() const noexcept { return type_; }

  void Free() noexcept {
    if (handle_ != nullptr) SQLFreeHandle(type_, handle_);
    handle_ = nullptr;
  }

 private:
  SQLSMALLINT type_ = SQL_HANDLE_ENV;
  SQLHANDLE handle_ = nullptr;
};

}  // namespace ledgerwick::odbc
