// Nothing but the headers that come with it.
