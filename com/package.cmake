# Read by cpack: the time that the packed files bear, the first that a zip can hold.
set(ENV{TZ} UTC)
set(ENV{SOURCE_DATE_EPOCH} 315532800)
