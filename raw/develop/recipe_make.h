// Recipes out of settings.
#pragma once

#include "raw/develop/recipe.h"

namespace trv::raw {

// TRW_RecipeCreate with settings that were read. *why is null after a success.
uint32_t make_recipe(Handle source, uint32_t packing, const TRW_DevelopSettings& settings,
                     TRW_Recipe** recipe, const char** why);

void end_recipe(TRW_Recipe* recipe);

}  // namespace trv::raw
