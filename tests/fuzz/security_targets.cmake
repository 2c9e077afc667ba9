# Fuzz targets of the credential, proxy-header and token parsers.
olma_add_fuzz_target(authorization)
olma_add_fuzz_target(x_forwarded_for)
olma_add_fuzz_target(forwarded)
olma_add_fuzz_target(header_update)
olma_add_fuzz_target(jwt LINK olma::jwt crypto)
