// The bench's door: everything that a program asks of the instrument's paths comes through here.
