# What a test takes of the machine while others run beside it. test.sh hands out
# eight shares on two cores. Most tests wait for a show nearly all the time; they
# take one share, a fifth of a core, and need no mention.
set(VELMORA_SHARES_BUSY 2)       # half a core, or what suffers from company
set(VELMORA_SHARES_COMPUTING 3)  # a core

# Drawing Direct3D without a card takes all cores that it gets: one such test at a
# time, and first of all, so that none is left for the end.
function(velmora_draws_direct3d test)
  set_tests_properties(${test} PROPERTIES PROCESSORS 4 RESOURCE_LOCK direct3d COST 300)
endfunction()
