#pragma once

/// @file
/// What the requests of all kinds of jobs share.

#include <string>

#include "Veltrix/BigData/Parameters.h"
#include "Veltrix/Data/StringVector.h"
#include "support/Json.h"

namespace BigData {

/// Writes the members of a job's configuration.
class JobRequest {
  public:
    JobRequest() { writer_.beginObject(); }

    template <class Value>
    JobRequest& add(const char* name, const Value& value) {
        writer_.member(name, value);
        return *this;
    }
    JobRequest& add(const char* name, const WString& text);
    JobRequest& add(const char* name, const StringVector& texts);
    JobRequest& addUser();
    JobRequest& addKeys(const AWSCredentials& keys);
    JobRequest& addStartTime();

    std::string take();

  private:
    Veltrix::Support::JsonWriter writer_;
};

/// Throws `Veltrix::Exception`, "OPERATION: PROBLEM", unless columns are selected.
void checkSelected(const char* operation, const Parameters& parameters);

}  // namespace BigData
