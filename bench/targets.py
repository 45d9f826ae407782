"""What is aimed at, as rows of the table: each is a measure, a limit and nothing else. Results are
computed by report.py; none is written by hand."""

from measures import Target, allocations, counter, larger, minus, ns, ratio, speed

MODELS = ("payment", "invoice", "pain001", "ubl")
ROWS = (100, 10_000, 1_000_000)


def structure_only(model):
    return minus(ns(f"message/{model}/libxml2-schema"), ns(f"message/{model}/libxml2-sax"))


def walks():
    for model in MODELS:
        by_id, by_name = ns(f"walk/{model}/id/stddi"), ns(f"walk/{model}/name/stddi")
        automata = ns(f"walk/{model}/libxml2-automata")
        yield Target(f"{model}: an element by tag id, of libxml2's structure checks",
                     ratio(by_id, structure_only(model)), at_most=1 / 10)
        yield Target(f"{model}: the same, of libxml2's automata alone",
                     ratio(by_id, automata), at_most=1 / 4)
        yield Target(f"{model}: an element by name, of libxml2's structure checks",
                     ratio(by_name, structure_only(model)), at_most=1 / 7)


def choices():
    for way in ("id", "name"):
        widest = larger(*(ns(f"walk/choice{n}/{way}/stddi") for n in (100, 1_000, 10_000)))
        yield Target(f"choices of 100 to 10,000 by {way}, of a choice of 10",
                     ratio(widest, ns(f"walk/choice10/{way}/stddi")), at_most=1.5)


def messages():
    for model in MODELS:
        own = ns(f"message/{model}/stddi")
        yield Target(f"{model}: parse and place, of libxml2's bare SAX2 parse",
                     ratio(own, ns(f"message/{model}/libxml2-sax")), at_most=1.6)
        yield Target(f"{model}: the same, of libxml2's SAX2 with schema",
                     ratio(own, ns(f"message/{model}/libxml2-schema")), at_most=0.55)


def lookups():
    def id_of(kind, how, who):
        return ns(f"id/{kind}/10000/hit/{how}/{who}")

    def name_of(rows, how, who):
        return ns(f"name/{rows}/hit/{how}/{who}")

    for how in ("dependent", "independent"):
        yield Target(f"10,000 dense ids, {how}, of a dense array",
                     ratio(id_of("dense", how, "stddi"), id_of("dense", how, "array")),
                     at_most=1.4)
        yield Target(f"10,000 sparse ids, {how}, of absl::flat_hash_map",
                     ratio(id_of("sparse", how, "stddi"), id_of("sparse", how, "absl")),
                     at_most=1)
    for how in ("dependent", "independent"):
        for rows in ROWS:
            yield Target(f"{rows:,} names, {how}, of absl::flat_hash_map",
                         ratio(name_of(rows, how, "stddi"), name_of(rows, how, "absl")),
                         at_most=1)


def loads():
    for model in MODELS:
        events = ns(f"load/{model}/events/stddi")
        image = ns(f"load/{model}/image/stddi")
        yield Target(f"{model}: load by events, of the least that a load must do",
                     ratio(events, ns(f"load/{model}/floor")), at_most=4)
        yield Target(f"{model}: the same, of protobuf's descriptors",
                     ratio(events, ns(f"load/{model}/protobuf")), at_most=1 / 8)
        yield Target(f"{model}: opening an image, of a copy of its bytes",
                     ratio(image, ns(f"load/{model}/image/copy")), at_most=3)
        yield Target(f"{model}: the same, of Xerces-C++'s serialised grammar pool",
                     ratio(image, ns(f"load/{model}/xerces-pool")), at_most=1 / 25)
        yield Target(f"{model}: loading an extract", speed(f"load/{model}/extract/stddi"),
                     at_least=100, unit="MB/s")


def the_rest():
    for model in MODELS:
        yield Target(f"{model}: memory of a definition, indexes and names included",
                     counter(f"memory/{model}/stddi", "bytes"), at_most=128, unit="bytes")
    yield Target("allocations of an element or a look-up, the worst of all workloads",
                 allocations("walk/", "shape/", "id/", "name/"), at_most=0)
    for way in ("id", "name"):
        name = f"threads/payment/{way}/stddi/real_time/threads:"
        yield Target(f"two threads by {way}, of one", ratio(ns(name + "1"), ns(name + "2")),
                     at_least=1.95)
    yield Target("a FIX field parsed and placed, of QuickFIX's parse with dictionary",
                 ratio(ns("fix/stddi"), ns("fix/quickfix")), at_most=1 / 3)


def targets():
    for group in (walks, choices, messages, lookups, loads, the_rest):
        yield from group()
