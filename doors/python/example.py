"""Two effects on a picture file, once by name and once as steps.

    python3 example.py INPUT OUTPUT
"""

import sys

import velmorant

picture = velmorant.Picture.open(sys.argv[1])
waved = velmorant.wave(picture, amplitude=20, orientation="columns")
result = velmorant.apply(waved, ["filters --kernel 'Gaussian 3 by 3'", "noise --amount 20"], seed=7)
result.save(sys.argv[2])
print(f"{sys.argv[2]}: {velmorant.compare(picture, result)}")
