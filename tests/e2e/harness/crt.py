"""The C run time's random numbers, as the show draws them."""


class Rand:
    def __init__(self, seed):
        self._state = seed & 0xFFFFFFFF

    def __call__(self):
        self._state = (self._state * 214013 + 2531011) & 0xFFFFFFFF
        return (self._state >> 16) & 0x7FFF


def shuffled(items, seed, passes=50):
    """The order of a show that was seeded with `seed`."""
    rand = Rand(seed)
    order = list(items)
    for _ in range(passes):
        for i in range(len(order)):
            j = rand() % len(order)
            order[i], order[j] = order[j], order[i]
    return order
