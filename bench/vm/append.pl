use strict;
for my $round (1 .. $ARGV[0]) {
    my $text = "";
    for my $i (1 .. 1000000) {
        $text .= "ten bytes\n";
    }
    print $text;
}
