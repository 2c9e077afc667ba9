# Fuzz targets of the localisation layer and of its ICU localizer.
olma_add_fuzz_target(language_preference)
olma_add_fuzz_target(ini_dictionary)
olma_add_fuzz_target(icu_formatting LINK olma::l10n_icu)
