// placeholder so that the room builds; goes with its first file
