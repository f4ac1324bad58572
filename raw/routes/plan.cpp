#include "raw/routes/plan.h"

#include "image/format/routes.h"

namespace trv::raw {
namespace {

consteval Demosaics kernels_between(const Format& from, const Format& to) {
    Demosaics demosaics = 0;
    for (const bayer::Kernel& kernel : bayer::kernels)
        if (kernel.input == bayer::input_of(from) && kernel.output == bayer::output_of(to.code))
            demosaics =
                static_cast<Demosaics>(demosaics | demosaic_bit(kernel.method, kernel.phase));
    return demosaics;
}

consteval Demosaics demosaics_between(const Format& from, const Format& to) {
    const RouteKind kind = route_kind(from, to);
    if (kind == RouteKind::none) return 0;
    return kind == RouteKind::bayer ? kernels_between(from, to) : any_demosaic;
}

struct Table {
    Demosaics direct[format_count][format_count];
    Demosaics faithful[format_count][format_count];  // without routes that lose the picture
};

consteval Table make_table() {
    Table table{};
    for (size_t from = 0; from < format_count; ++from)
        for (size_t to = 0; to < format_count; ++to) {
            const Demosaics demosaics = demosaics_between(formats[from], formats[to]);
            table.direct[from][to] = demosaics;
            if (lossy(formats[from], formats[to]) == nullptr) table.faithful[from][to] = demosaics;
        }
    return table;
}

constexpr Table table = make_table();

size_t row_of(const Format& format) {
    return static_cast<size_t>(&format - formats);
}

// Values are not scaled when they grow, so what grew once must not be narrowed: it would be black.
bool narrows_after_growing(const Plan& plan) {
    bool grew = false;
    for (unsigned i = 1; i <= plan.steps; ++i) {
        const unsigned before = plan.format[i - 1]->significant,
                       depth = plan.format[i]->significant;
        if (grew && depth < before) return true;
        grew = grew || depth > before;
    }
    return false;
}

bool loses_before_the_end(const Plan& plan) {
    const unsigned first = plan.format[0]->significant;
    const unsigned last = plan.format[plan.steps]->significant;
    const unsigned needed = first < last ? first : last;
    for (unsigned i = 1; i < plan.steps; ++i)
        if (plan.format[i]->significant < needed) return true;
    return false;
}

bool keeps_the_picture(const Plan& plan) {
    return !narrows_after_growing(plan) && !loses_before_the_end(plan);
}

// Of plans of one length: whole bytes and words before bit fields, then the smaller pictures.
struct Cost {
    unsigned bit_fields;
    unsigned bits;

    bool operator<(const Cost& other) const {
        return bit_fields != other.bit_fields ? bit_fields < other.bit_fields : bits < other.bits;
    }
};

Cost cost(const Plan& plan) {
    Cost sum{};
    for (unsigned i = 0; i <= plan.steps; ++i) {
        sum.bit_fields += plan.format[i]->family == Family::word ? 1 : 0;
        sum.bits += plan.format[i]->stored;
    }
    return sum;
}

bool passes(const Plan& plan, const Format& format) {
    for (unsigned i = 0; i <= plan.steps; ++i)
        if (plan.format[i] == &format) return true;
    return false;
}

struct Search {
    const Format& to;
    Demosaics demosaics;
    Plan best;

    void extend(const Plan& plan, unsigned steps) {
        const size_t from = row_of(*plan.format[plan.steps]);
        if (steps == 1) return finish(plan, from);
        for (const Format& next : formats)
            if ((table.faithful[from][row_of(next)] & demosaics) != 0 && &next != &to &&
                !passes(plan, next))
                extend(longer(plan, next), steps - 1);
    }

    void finish(const Plan& plan, size_t from) {
        if ((table.faithful[from][row_of(to)] & demosaics) == 0) return;
        const Plan whole = longer(plan, to);
        if (!keeps_the_picture(whole)) return;
        if (!best.found || cost(whole) < cost(best)) best = whole;
        best.found = true;
    }

    static Plan longer(Plan plan, const Format& next) {
        plan.format[++plan.steps] = &next;
        return plan;
    }
};

}  // namespace

Demosaics direct_demosaics(const Format& from, const Format& to) {
    return table.direct[row_of(from)][row_of(to)];
}

bool is_read(const Format& format) {
    for (const Demosaics demosaics : table.direct[row_of(format)])
        if (demosaics != 0) return true;
    return false;
}

bool is_made(const Format& format) {
    for (const auto& row : table.direct)
        if (row[row_of(format)] != 0) return true;
    return false;
}

Plan plan(const Format& from, const Format& to, Demosaics demosaics) {
    const Plan start{true, 0, {&from}};
    if (&from == &to) return start;
    Search search{to, demosaics, {}};
    for (unsigned steps = 1; steps <= most_steps && !search.best.found; ++steps)
        search.extend(start, steps);
    return search.best;
}

}  // namespace trv::raw
