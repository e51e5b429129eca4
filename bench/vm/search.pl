use strict;
my $text = "The quick brown fox jumps over the lazy dog at sunset";
my $total = 0;
for my $i (1 .. $ARGV[0]) {
    $total += index($text, "lazy") + 1;
}
print "$total\n";
