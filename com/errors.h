// The border between the component's errors and the platform's result codes.
#pragma once

#include "com/com_types.h"
#include "frame/error.h"

namespace ledgerwick::com {

// Error 6, 94, 424, 429 of the host platform's languages.
DatabaseError OverflowError();
DatabaseError InvalidUseOfNull();
DatabaseError ObjectRequired();
DatabaseError CannotCreate(TextView prog_id);

// The result code of an error: 0x800A0000 + N for the numbers 1 to 65535, a negative number as it
// is.
HRESULT ToResult(std::int32_t number) noexcept;

// The error for a failing call. A language's code (0x800A0000 + N) becomes N, a name or member that
// is not there 438, a wrong type 13, an overflow 6; any other code stays.
DatabaseError FromResult(HRESULT result);

// The error that a member raised, unchanged; frees what `info` holds.
DatabaseError FromException(EXCEPINFO& info);

// Throws FromResult for a failing code; std::bad_alloc when it says that memory ran out.
void ThrowIfFailed(HRESULT result);

// For use in a catch block alone: the code of the exception under way. Leaves its description for
// the caller's thread, on behalf of the interface `iid`.
HRESULT ReportException(REFIID iid) noexcept;

}  // namespace ledgerwick::com
