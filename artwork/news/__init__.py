"""The small pictures beside the hints."""

from .beasts import BEASTS
from .lands import LANDS
from .things import THINGS

# File name without its ending: (title, what it shows, painter).
NEWS = {**LANDS, **THINGS, **BEASTS}
