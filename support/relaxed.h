// Members that another thread may change while they are read without a lock. Relaxed access keeps
// such a read whole without changing the record's layout or, on x86-64, the instructions.
#pragma once

namespace trv::support {

template <class Value>
Value Load(const Value& member) {
    return __atomic_load_n(&member, __ATOMIC_RELAXED);
}

template <class Value>
void Store(Value* member, Value value) {
    __atomic_store_n(member, value, __ATOMIC_RELAXED);
}

}  // namespace trv::support
