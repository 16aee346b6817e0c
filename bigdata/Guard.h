#pragma once

#include "Veltrix/BigData/Exceptions.h"
#include "bigdata/Http.h"
#include "support/Json.h"

namespace BigData {

/// Does the work of a public operation. What the libraries below throw becomes the client's own
/// exceptions; those of Veltrix pass as they are.
template <class Work>
auto guarded(const Work& work) -> decltype(work()) {
    try {
        return work();
    } catch (const Veltrix::Exception&) {
        throw;
    } catch (const Http::TransportError& error) {
        throw BDHttpError(error.what());
    } catch (const Veltrix::Support::JsonError& error) {
        throw BDParsingError(error.what());
    } catch (const Http::AddressError& error) {
        throw BDUriError(error.what());
    } catch (...) {
        throw BDUnexpectedError();
    }
}

}  // namespace BigData
