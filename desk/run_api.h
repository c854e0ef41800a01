// What is asked of one run's rows.
#pragma once

#include <memory>
#include <string>

#include "desk/http.h"
#include "desk/run.h"

namespace ledgerwick::desk {

// Answers GET /runs/ID/WHAT for what is about rows. Throws QueryError, NoRows and NotThere.
HttpReply AnswerAboutRows(const std::shared_ptr<Run>& run, const std::string& what,
                          const HttpRequest& request);

// A reply with that JSON.
HttpReply JsonReply(int status, const Json& json);

}  // namespace ledgerwick::desk
