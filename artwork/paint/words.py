"""Titles and descriptions of the pictures, cut to an exact length."""

# Said of any picture of the set, short ones too, so that any length can be made up of
# whole sentences.
COMMON = [
    "By Vornak.",
    "At dusk.",
    "For Quelra.",
    "Drawn by us.",
    "Ember light.",
    "Painted small.",
    "Light from above.",
    "Quiet and dark.",
    "One warm accent.",
    "Cold slate, warm ember.",
    "Part of the Quelra launcher.",
    "Light falls from the upper left.",
    "Made for the launcher of Quelra.",
    "The warm colour is kept for what can be done next.",
    "Drawn from a script, with no picture from elsewhere.",
    "The hour is dusk: the sun is gone, the windows are lit.",
    "Edges catch the last light above and fall into shade below.",
    "Painted at the size at which it is shown, pixel for pixel.",
    "Stone is blue slate, metal is worn bronze, glass is lit from behind.",
    "The grain is part of the picture and keeps dark tones from banding.",
    "Colours come from the one palette that every picture of the set shares.",
    "It belongs to one set with the buttons, the frames and the background.",
    "Quelra is the land below the ridge; its towers keep a light for travellers.",
    "Nothing in it moves or blinks, because the launcher should never shout at a player.",
    "Shadows are never black: they lean towards the violet of the sky after the sun has gone.",
    "The palette holds night, slate, mist, bone, bronze and ember, and everything is mixed from them.",
]


def exact(length, sentences):
    """Whole sentences, joined by blanks, that are `length` characters long together."""
    if length <= 0:
        return None
    # reach[n]: the sentences of one way to come to n characters, later ones not yet used.
    reach = {-1: ()}
    for i, sentence in enumerate(sentences):
        for at, used in sorted(reach.items(), reverse=True):
            to = at + 1 + len(sentence)
            if to <= length and to not in reach:
                reach[to] = used + (i,)
        if length in reach:
            break
    if length not in reach:
        return None
    return " ".join(sentences[i] for i in reach[length])


def describe(room, title, about, plain=False):
    """Metadata that fills `room` bytes: text chunks, or one plain text for a comment."""
    sentences = list(about) + COMMON
    if plain:
        lead = f"{title}. By Vornak. "
        text = exact(room - len(lead), sentences)
        return None if text is None else lead + text
    if room == 0:
        return []
    overhead = lambda key, value: 12 + len(key) + 1 + len(value)
    author = ("Author", "Vornak")
    titles = [title, "Quelra launcher", "Quelra"]
    heads = [[("Title", t), author] for t in titles] + [[author]] + [[("Title", t)] for t in titles] + [[]]
    for head in heads:
        rest = room - sum(overhead(*h) for h in head)
        if rest == 0:
            return head
        text = exact(rest - overhead("Description", ""), sentences)
        if text is not None:
            return head + [("Description", text)]
    return None
