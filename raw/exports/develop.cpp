#include "raw/develop/develop.h"

#include "raw/develop/recipe_make.h"
#include "raw/exports/settings.h"
#include "trvil/raw.h"

uint32_t TRW_RecipeCreate(TRW_Recipe** recipe, uint64_t source, uint32_t packing,
                          const TRW_DevelopSettings* settings, const char** why) {
    const char* unasked = nullptr;
    if (why == nullptr) why = &unasked;
    *why = "there are no settings or no place for the recipe";
    if (recipe == nullptr || settings == nullptr) return TRV_STATUS_PARAMETER;
    TRW_DevelopSettings read{};
    *why = "the settings say how large they are, and nothing that is not known";
    if (const uint32_t status = trv::raw::read_settings(settings, &read)) return status;
    return trv::raw::make_recipe(source, packing, read, recipe, why);
}

uint32_t TRW_RecipeDestroy(TRW_Recipe** recipe) {
    if (recipe == nullptr || *recipe == nullptr) return TRV_STATUS_PARAMETER;
    trv::raw::end_recipe(*recipe);
    *recipe = nullptr;
    return TRV_STATUS_OK;
}

uint32_t TRW_Develop(uint64_t source, uint64_t destination, const TRW_Recipe* recipe,
                     TRW_Pool* pool) {
    if (recipe == nullptr) return TRV_STATUS_PARAMETER;
    return trv::raw::develop(trv::raw::current_level(), source, destination, *recipe, pool);
}
