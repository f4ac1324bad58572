#include "bench/peers/candidate.h"
#include "image/exports/convert.h"
#include "image/exports/field_to_frame.h"

namespace peers {
namespace {

uint32_t bayer_method(Method method) {
    return method == Method::dup   ? TBL_BAYER_METHOD_DUP
           : method == Method::med ? TBL_BAYER_METHOD_MED
                                   : TBL_BAYER_METHOD_AVE;
}

uint32_t field_method(Method method) {
    return static_cast<uint32_t>(method) - static_cast<uint32_t>(Method::line_dup);
}

}  // namespace

Candidate ours(const Task& task, const trv::Level& table, const std::string& name) {
    if (task.is_field()) {
        const uint32_t method = field_method(task.method);
        return {name, {}, [table, method](Size) -> Run {
                    return [table, method](const Job& job) {
                        trv::field_to_frame(table, job.from_handle, job.to_handle, method, 1);
                    };
                }};
    }
    const bool mosaic = task.is_mosaic();
    const uint32_t method = bayer_method(task.method);
    return {name, {}, [table, mosaic, method](Size) -> Run {
                return [table, mosaic, method](const Job& job) {
                    if (mosaic)
                        TBS_BufferParameterSet(job.from_handle, TBL_PARAMETER_BAYER_METHOD, method);
                    trv::convert(table, job.from_handle, job.to_handle);
                };
            }};
}

}  // namespace peers
